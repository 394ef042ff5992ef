#include "tools/maps/BoardMap.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <stdexcept>

#include "experiment/DAQChannelMap.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

constexpr int kPorts = 64;
constexpr int kPixels = 32;
constexpr int kMostDiBlocks = 14;
constexpr int kMostDCMs = 12;
// What a board shows of which nothing was recorded.
constexpr float kNoTemperature = -100.0F;

const RunHistory::DCM* FindActiveDCM(const RunHistory& history, int diblock, int dcm) {
  for (const auto& candidate : history.GetDiBlocks()) {
    if (candidate.number != diblock || dcm > static_cast<int>(candidate.dcms.size())) { continue; }
    const auto& found = candidate.dcms[static_cast<std::size_t>(dcm) - 1];
    return found.isActive ? &found : nullptr;
  }
  return nullptr;
}

/// The mean threshold of the enabled pixels.
bool MeanThreshold(const RunHistory::FEB& feb, double& value) {
  const auto mask = static_cast<std::uint32_t>(feb.pixelEnableMask);
  double sum = 0;
  int count = 0;
  for (int pixel = 0; pixel < std::min(kPixels, static_cast<int>(feb.thresholds.size())); ++pixel) {
    if (((mask >> static_cast<unsigned int>(pixel)) & 1U) == 0) { continue; }
    sum += feb.thresholds[static_cast<std::size_t>(pixel)];
    ++count;
  }
  if (count > 0) { value = sum / count; }
  return count > 0;
}

/// \return false when the value was never recorded, or is no finite number
bool ReadValue(const RunHistory::FEB& feb, Quantity quantity, double& value) {
  switch (quantity) {
    case Quantity::Threshold: return MeanThreshold(feb, value);
    case Quantity::Gain:
      value = static_cast<double>(feb.avgGain);
      return feb.avgGain != 0.0F && std::isfinite(value);
    case Quantity::Voltage: value = feb.voltage; return feb.voltage != 0;
    case Quantity::Temperature:
      value = static_cast<double>(feb.temperature);
      return feb.temperature != kNoTemperature && std::isfinite(value);
    default: value = 1; return true;
  }
}

Board ReadBoard(const RunHistory& history, const RunHistory::DCM* dcm, Board board, Quantity quantity) {
  if (dcm == nullptr) { return board; }
  const auto port = static_cast<std::size_t>(board.port);
  const bool exists = port < dcm->febs.size();
  // A simulated run's detector is perfect, though nothing is marked on its ports.
  if (!exists || !(dcm->febs[port].isInstalled || history.IsMC())) {
    board.state = BoardState::NotInstalled;
    return board;
  }
  const auto& feb = dcm->febs[port];
  const bool enabled = feb.isEnabled && ((dcm->febEnableMask >> port) & 1U) != 0;
  if (quantity != Quantity::Installed && !enabled) {
    board.state = BoardState::NotEnabled;
    return board;
  }
  board.state = ReadValue(feb, quantity, board.value) ? BoardState::Good : BoardState::NoValue;
  return board;
}

/// Whether a detector has a place for a board, by the channel map.
bool IsPlace(int detector, int diblock, int dcm, int port) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(detector);
  const auto channel = map.encodeDChan(detector, static_cast<unsigned int>(diblock),
                                       static_cast<unsigned int>(dcm), static_cast<unsigned int>(port), 0);
  return map.getLogicalChannel(channel) != daqchannelmap::DAQChannelMap::kNoChannel;
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

const char* NameOf(BoardState state) {
  constexpr std::array kNames{"not in the run", "not installed", "not enabled", "no value", "good"};
  return kNames.at(static_cast<std::size_t>(state));
}

int BoardMap::Count(BoardState state) const {
  return static_cast<int>(std::count_if(boards.begin(), boards.end(),
                                        [state](const Board& board) { return board.state == state; }));
}

BoardMap MakeBoardMap(RunHistory& history, const QuantityInfo& quantity) {
  const int detector = history.GetDetectorId();
  BoardMap map{quantity, history.GetDetectorName(), history.GetRunNumber(), {}};
  for (int diblock = 1; diblock <= kMostDiBlocks; ++diblock) {
    for (int number = 1; number <= kMostDCMs; ++number) {
      const auto* dcm = FindActiveDCM(history, diblock, number);
      for (int port = 0; port < kPorts; ++port) {
        if (!IsPlace(detector, diblock, number, port)) { continue; }
        map.boards.push_back(ReadBoard(history, dcm, {diblock, number, port}, quantity.quantity));
      }
    }
  }
  return map;
}

}  // namespace brio::tools
