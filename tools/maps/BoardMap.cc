#include "tools/maps/BoardMap.h"

#include <algorithm>
#include <stdexcept>

namespace brio::tools {
namespace {

using arrays::Status;

/// Of a board without anything installed it is not asked whether it is enabled.
Status StatusOfEnabled(const arrays::Board& board) {
  if (board.installed.IsKnown() && !board.installed.value) { return Status::NotInstalled; }
  if (!board.installed.IsKnown()) { return board.installed.status; }
  return board.enabled.IsKnown() && !board.enabled.value ? Status::NotEnabled : board.enabled.status;
}

MapBoard QuantityOf(const arrays::Board& board, Quantity quantity) {
  MapBoard shown;
  shown.place = board.place;
  const auto take = [&](const auto& value) {
    shown.status = value.status;
    shown.value = static_cast<double>(value.value);
  };
  switch (quantity) {
    case Quantity::Installed:
      take(board.installed);
      if (shown.IsGood() && !board.installed.value) { shown.status = Status::NotInstalled; }
      break;
    case Quantity::Enabled:
      shown.status = StatusOfEnabled(board);
      shown.value = 1;
      break;
    case Quantity::Threshold: take(board.threshold); break;
    case Quantity::Gain:
      take(board.gain);
      if (!shown.IsGood() && board.measuredGain.IsKnown()) { shown.measured = board.measuredGain.value; }
      break;
    case Quantity::Voltage: take(board.voltage); break;
    case Quantity::Temperature: take(board.temperature); break;
  }
  return shown;
}

/// What takes part in a difference; nothing where there is no answer.
std::optional<double> Compared(const BoardMap& map, const MapValue& value) {
  if (value.IsGood()) { return value.value; }
  const bool isNo = value.status == Status::NotInstalled ||
                    (map.quantity.quantity == Quantity::Enabled && value.status == Status::NotEnabled);
  return map.IsYesNo() && isNo ? std::optional(0.0) : std::nullopt;
}

}  // namespace

const std::vector<QuantityInfo>& Quantities() {
  static const std::vector<QuantityInfo> kQuantities{
      {Quantity::Installed, "installed", "installed boards", "channels of installed boards", "",
       Depth::Hardware},
      {Quantity::Enabled, "enabled", "enabled boards", "enabled channels", "", Depth::Configuration},
      {Quantity::Threshold, "threshold", "mean threshold of a board's enabled pixels",
       "threshold of each channel", "ADC counts", Depth::Configuration},
      {Quantity::Gain, "gain", "mean gain of a board's pixels, nominally 100",
       "gain of each channel, nominally 100", "", Depth::Settings},
      {Quantity::Voltage, "voltage", "APD bias voltage", "APD bias voltage", "V", Depth::Settings},
      {Quantity::Temperature, "temperature", "APD temperature", "APD temperature", "°C", Depth::Settings}};
  return kQuantities;
}

const QuantityInfo& QuantityNamed(const std::string& name) {
  for (const auto& info : Quantities()) {
    if (info.name == name) { return info; }
  }
  throw std::out_of_range("there is no quantity \"" + name + "\"");
}

const char* StateName(Status status) { return status == Status::Known ? "good" : arrays::NameOf(status); }

int BoardMap::Count(Status status) const {
  return static_cast<int>(std::count_if(boards.begin(), boards.end(),
                                        [status](const MapBoard& board) { return board.status == status; }));
}

int BoardMap::CountValue(double value) const {
  return static_cast<int>(std::count_if(boards.begin(), boards.end(), [value](const MapBoard& board) {
    return board.IsGood() && board.value == value;
  }));
}

std::vector<Status> StatusesOf(const BoardMap& map) {
  std::vector<Status> statuses;
  for (int i = 0; i < arrays::kStatuses; ++i) {
    const auto status = static_cast<Status>(i);
    if (status != Status::Known && map.Count(status) > 0) { statuses.push_back(status); }
  }
  return statuses;
}

BoardMap MakeBoardMap(const arrays::Boards& boards, const QuantityInfo& quantity) {
  BoardMap map;
  map.quantity = quantity;
  map.detector = boards.detectorName;
  map.run = boards.run;
  map.boards.reserve(boards.boards.size());
  for (const auto& board : boards.boards) {
    map.boards.push_back(QuantityOf(board, quantity.quantity));
  }
  return map;
}

BoardMap Difference(const BoardMap& run, const BoardMap& minus) {
  BoardMap map = run;
  map.minus = minus.run;
  map.about.insert(map.about.end(), minus.about.begin(), minus.about.end());
  for (std::size_t i = 0; i < map.boards.size(); ++i) {
    MapBoard& board = map.boards[i];
    board.ofRun = run.boards[i];
    board.ofMinus = minus.boards.at(i);
    board.measured.reset();
    const auto a = Compared(map, *board.ofRun);
    const auto b = Compared(map, *board.ofMinus);
    board.status = a ? Status::Known : board.ofRun->status;
    if (a && !b) { board.status = board.ofMinus->status; }
    board.value = a && b ? *a - *b : 0;
  }
  return map;
}

}  // namespace brio::tools
