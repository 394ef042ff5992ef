#include "arrays/Answers.h"

#include "arrays/Boards.h"
#include "arrays/Channels.h"

namespace brio::arrays {
namespace {

using brio::dbi::RunHistory;

/// Lets exceptions pass.
Outcome Run(const std::function<bool()>& load) { return {load(), {}, false}; }

template <class T>
std::optional<T> Known(const Value<T>& value) {
  return value.IsKnown() ? std::optional<T>(value.value) : std::nullopt;
}

std::size_t IndexOf(const RunHistory& history, std::uint32_t channel) {
  return Layout::Of(history.GetDetectorId()).ChannelAt(channel);
}
std::size_t IndexOf(const RunHistory& history, const geo::OfflineChan& channel) {
  return Layout::Of(history.GetDetectorId()).ChannelAt(channel.Plane(), channel.Cell());
}

/// What the channel's board has; nothing, after loading all the same, for a channel that there is not.
template <class T, class Name>
std::optional<T> OfBoard(RunHistory& history, const Name& name, Value<T> Board::*member) {
  const LoadedParts parts = LoadRun(history, Depth::Settings, Run);
  const std::size_t index = IndexOf(history, name);
  if (index == kNowhere) { return std::nullopt; }
  return Known(MakeBoard(history, parts, BoardsOf(history.GetDetectorId())[index / kPixels]).*member);
}

/// The same of the channel itself.
template <class Name>
std::optional<Channel> At(RunHistory& history, const Name& name, Depth depth) {
  const LoadedParts parts = LoadRun(history, depth, Run);
  const std::size_t index = IndexOf(history, name);
  if (index == kNowhere) { return std::nullopt; }
  return MakeChannel(history, parts, ChannelsOf(history.GetDetectorId())[index]);
}

template <class Name>
std::optional<int> ThresholdOf(RunHistory& history, const Name& name) {
  const auto channel = At(history, name, Depth::Configuration);
  if (!channel || channel->thresholdStatus != Status::Known) { return std::nullopt; }
  return channel->threshold;
}

template <class Name>
std::optional<float> PixelGainOf(RunHistory& history, const Name& name) {
  const auto channel = At(history, name, Depth::Settings);
  if (!channel || channel->gainStatus != Status::Known) { return std::nullopt; }
  return channel->gain;
}

}  // namespace

std::optional<int> Threshold(RunHistory& history, std::uint32_t channel) {
  return ThresholdOf(history, channel);
}
std::optional<int> Threshold(RunHistory& history, const geo::OfflineChan& channel) {
  return ThresholdOf(history, channel);
}

std::optional<float> PixelGain(RunHistory& history, std::uint32_t channel) {
  return PixelGainOf(history, channel);
}
std::optional<float> PixelGain(RunHistory& history, const geo::OfflineChan& channel) {
  return PixelGainOf(history, channel);
}

std::optional<float> Gain(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::gain);
}
std::optional<float> Gain(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::gain);
}

std::optional<float> Temperature(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::temperature);
}
std::optional<float> Temperature(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::temperature);
}

std::optional<int> Voltage(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::voltage);
}
std::optional<int> Voltage(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::voltage);
}

std::optional<bool> TemperatureControl(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::temperatureControl);
}
std::optional<bool> TemperatureControl(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::temperatureControl);
}

std::optional<std::string> FEBSerial(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::feb);
}
std::optional<std::string> FEBSerial(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::feb);
}

std::optional<std::string> APDSerial(RunHistory& history, std::uint32_t channel) {
  return OfBoard(history, channel, &Board::apd);
}
std::optional<std::string> APDSerial(RunHistory& history, const geo::OfflineChan& channel) {
  return OfBoard(history, channel, &Board::apd);
}

}  // namespace brio::arrays
