#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "arrays/Boards.h"
#include "tools/maps/BoardMap.h"
#include "tools/verbs/RunDifference.h"

namespace brio::tools {

/// A place on the map with something unusual: a board, the boards of a DCM or all of a diblock.
struct UnusualPlace {
  std::string label;  ///< "8/3/5", "8/3" or "diblock 8"
  std::string
      text;  ///< what is there: "3.98 °C", "62 boards, ports 0-60, 63"; empty when nothing is to be added
  unsigned int diblock = 0;
  unsigned int dcm = 0;     ///< 0 for all of the diblock
  std::optional<int> port;  ///< nothing for the whole DCM

  /// The name of the element that marks it on the map: "board-8-3-5", "dcm-8-3", "diblock-8".
  std::string Anchor() const;
};

/// One kind of unusual thing.
struct UnusualKind {
  std::string title;     ///< what holds for how many: "9 boards are not installed"
  std::string note;      ///< what else is to be known; may be empty
  std::string quantity;  ///< of the map that shows it
  std::size_t count = 0;
  std::vector<UnusualPlace> places;
};

/// A board with what is to be told of it.
struct UnusualBoard {
  arrays::BoardPlace place;
  std::string text;
};

/// Those of a DCM become one place when they are many, and those of a diblock when they are all that it has;
/// others stay as they are, in their order.
std::vector<UnusualPlace> PlacesOf(const std::vector<UnusualBoard>& boards, const arrays::Boards& all);

/// What is unusual about the boards of a run: values beyond the middle half by more than 1.5 times its width,
/// boards not installed or not enabled, gains replaced, values missing, diblocks masked, DCMs not in the run,
/// diblocks that are not good. Kinds of which there is nothing are left out.
/// \param goodDiBlocks  the stored mask, when there is one
std::vector<UnusualKind> UnusualOf(const arrays::Boards& boards, const std::vector<BoardMap>& maps,
                                   const std::optional<int>& goodDiBlocks);

/// What a difference has of boards, thresholds and DCMs.
std::vector<UnusualKind> ChangesOf(const RunDifference& difference, const arrays::Boards& boards);

}  // namespace brio::tools
