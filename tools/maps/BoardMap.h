#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arrays/Boards.h"
#include "tools/shared/Loading.h"

namespace brio::tools {

/// What a map of the detector shows of each board.
enum class Quantity { Installed, Enabled, Threshold, Gain, Voltage, Temperature };

/// One quantity: its name on the command line, its title, its unit, and what must be loaded for it.
struct QuantityInfo {
  Quantity quantity;
  const char* name;
  const char* title;
  /// Empty for yes or no, and for a gain.
  const char* unit;
  Depth depth;
};

const std::vector<QuantityInfo>& Quantities();
/// \throws std::out_of_range for a name that no quantity has
const QuantityInfo& QuantityNamed(const std::string& name);

/// A status's name in tables and legends: "good" for a value that is known.
const char* StateName(arrays::Status status);

/// One board, with one quantity of it.
struct MapBoard {
  arrays::BoardPlace place;
  arrays::Status status = arrays::Status::RunNotLoaded;
  double value = 0;                ///< only when the status is Known, or Replaced; 1 for yes
  std::optional<double> measured;  ///< what was measured, where the status is Replaced or LeftOut

  bool IsGood() const { return status == arrays::Status::Known; }
};

/// All the places that a detector has for boards, by diblock, DCM, port, with what a run says of each.
struct BoardMap {
  QuantityInfo quantity{};
  std::string detector;
  int run = 0;
  std::vector<MapBoard> boards;

  bool IsYesNo() const {
    return quantity.quantity == Quantity::Installed || quantity.quantity == Quantity::Enabled;
  }
  int Count(arrays::Status status) const;
};

/// Why boards of a map have no value of their own, each reason that occurs once: what stands out last.
std::vector<arrays::Status> StatusesOf(const BoardMap& map);

/// Takes one quantity of a run's boards.
BoardMap MakeBoardMap(const arrays::Boards& boards, const QuantityInfo& quantity);

}  // namespace brio::tools
