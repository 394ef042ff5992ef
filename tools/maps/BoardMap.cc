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
  const auto of = [&](const auto& value) {
    return MapBoard{board.place, value.status, static_cast<double>(value.value), std::nullopt};
  };
  MapBoard shown;
  switch (quantity) {
    case Quantity::Installed:
      shown = of(board.installed);
      if (shown.IsGood() && !board.installed.value) { shown.status = Status::NotInstalled; }
      break;
    case Quantity::Enabled: shown = {board.place, StatusOfEnabled(board), 1, std::nullopt}; break;
    case Quantity::Threshold: shown = of(board.threshold); break;
    case Quantity::Gain:
      shown = of(board.gain);
      if (!shown.IsGood() && board.measuredGain.IsKnown()) { shown.measured = board.measuredGain.value; }
      break;
    case Quantity::Voltage: shown = of(board.voltage); break;
    case Quantity::Temperature: shown = of(board.temperature); break;
  }
  return shown;
}

}  // namespace

const std::vector<QuantityInfo>& Quantities() {
  static const std::vector<QuantityInfo> kQuantities{
      {Quantity::Installed, "installed", "installed boards", "", Depth::Hardware},
      {Quantity::Enabled, "enabled", "enabled boards", "", Depth::Configuration},
      {Quantity::Threshold, "threshold", "mean threshold of a board's enabled pixels", "ADC counts",
       Depth::Configuration},
      {Quantity::Gain, "gain", "mean gain of a board's pixels, nominally 100", "", Depth::Settings},
      {Quantity::Voltage, "voltage", "APD bias voltage", "V", Depth::Settings},
      {Quantity::Temperature, "temperature", "APD temperature", "°C", Depth::Settings}};
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

std::vector<Status> StatusesOf(const BoardMap& map) {
  std::vector<Status> statuses;
  for (int i = 0; i < arrays::kStatuses; ++i) {
    const auto status = static_cast<Status>(i);
    if (status != Status::Known && map.Count(status) > 0) { statuses.push_back(status); }
  }
  return statuses;
}

BoardMap MakeBoardMap(const arrays::Boards& boards, const QuantityInfo& quantity) {
  BoardMap map{quantity, boards.detectorName, boards.run, {}};
  map.boards.reserve(boards.boards.size());
  for (const auto& board : boards.boards) {
    map.boards.push_back(QuantityOf(board, quantity.quantity));
  }
  return map;
}

}  // namespace brio::tools
