#pragma once

#include <cstdint>
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
  const char* channelTitle;  ///< of a map of channels
  /// Empty for yes or no, and for a gain.
  const char* unit;
  Depth depth;
};

const std::vector<QuantityInfo>& Quantities();
/// \throws std::out_of_range for a name that no quantity has
const QuantityInfo& QuantityNamed(const std::string& name);

/// A status's name in tables and legends: "good" for a value that is known.
const char* StateName(arrays::Status status);

/// One quantity of a board, or of a channel.
struct MapValue {
  arrays::Status status = arrays::Status::RunNotLoaded;
  double value = 0;                ///< only when the status is Known, or Replaced; 1 for yes
  std::optional<double> measured;  ///< what was measured, where the status is Replaced or LeftOut

  bool IsGood() const { return status == arrays::Status::Known; }
  bool HasValue() const { return IsGood() || status == arrays::Status::Replaced; }
};

/// One board, with one quantity of it. In a difference the value is the difference, which is good where both
/// runs have a value; else the status is the first reason of the one or the other.
struct MapBoard : MapValue {
  arrays::BoardPlace place;
  // Of a map of channels.
  std::uint16_t cell = 0;
  std::uint8_t pixel = 0;
  std::optional<MapValue> ofRun;    ///< in a difference: what the run has
  std::optional<MapValue> ofMinus;  ///< and what is taken off
};

/// All the places that a detector has for boards, by diblock, DCM, port, with what a run says of each; or all
/// its channels, in the same order, 32 in a board's place (MakeChannelMap).
struct BoardMap {
  QuantityInfo quantity{};
  std::string detector;
  int run = 0;
  std::vector<MapBoard> boards;
  bool isOfChannels = false;
  /// In a difference: the run that is taken off.
  std::optional<int> minus;
  /// What the run was and how it was asked, in one line for each run: "2014-06-10 03:00:00 UTC, Physics, …".
  std::vector<std::string> about;

  /// Whether each board is installed, or enabled; in a difference it says in which run.
  bool IsYesNo() const {
    return quantity.quantity == Quantity::Installed || quantity.quantity == Quantity::Enabled;
  }
  int Count(arrays::Status status) const;
  /// How many good boards have some value: of a yes-or-no difference 1 (in the run only), 0 or -1.
  int CountValue(double value) const;
};

/// Why boards of a map have no value of their own, each reason that occurs once: what stands out last.
std::vector<arrays::Status> StatusesOf(const BoardMap& map);

/// Takes one quantity of a run's boards.
BoardMap MakeBoardMap(const arrays::Boards& boards, const QuantityInfo& quantity);

/// What a run has more than another of the same detector. Of yes and no, which both are answers here: 1 for
/// boards that are in the run only, -1 for those that are in the other only.
BoardMap Difference(const BoardMap& run, const BoardMap& minus);

}  // namespace brio::tools
