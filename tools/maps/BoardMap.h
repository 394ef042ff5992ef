#pragma once

#include <string>
#include <vector>

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

enum class BoardState {
  Absent,        ///< the board's DCM took no part in the run, or its diblock is masked
  NotInstalled,  ///< nothing is installed on the port
  NotEnabled,    ///< installed, but not enabled by the DAQ configuration
  NoValue,       ///< installed and enabled, but the value was never recorded or is no finite number
  Good           ///< installed, enabled where that counts, and the value is there
};

/// The state's name in tables and legends.
const char* NameOf(BoardState state);

struct Board {
  int diblock = 0;
  int dcm = 0;
  int port = 0;
  BoardState state = BoardState::Absent;
  double value = 0;  ///< only when the state is Good; 1 for yes
};

/// All the places that a detector has for boards, by diblock, DCM, port, with what a run says of each.
struct BoardMap {
  QuantityInfo quantity{};
  std::string detector;
  int run = 0;
  std::vector<Board> boards;

  bool IsYesNo() const {
    return quantity.quantity == Quantity::Installed || quantity.quantity == Quantity::Enabled;
  }
  int Count(BoardState state) const;
};

/// Reads the map off a run record that was loaded as deep as the quantity needs.
BoardMap MakeBoardMap(brio::dbi::RunHistory& history, const QuantityInfo& quantity);

}  // namespace brio::tools
