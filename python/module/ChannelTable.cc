#include "python/module/ChannelTable.h"

#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

namespace brio::python {
namespace {

using arrays::Channel;
using arrays::ChannelPlace;

static_assert(std::is_standard_layout_v<Channel> && std::is_trivially_copyable_v<Channel>);

constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();

std::vector<Column> ColumnsOfChannel() {
  constexpr std::size_t kPlace = offsetof(Channel, place);
  return {{"channel", "u4", kPlace + offsetof(ChannelPlace, daqChannel)},
          {"plane", "u2", kPlace + offsetof(ChannelPlace, plane)},
          {"cell", "u2", kPlace + offsetof(ChannelPlace, cell)},
          {"diblock", "u1", kPlace + offsetof(ChannelPlace, diblock)},
          {"dcm", "u1", kPlace + offsetof(ChannelPlace, dcm)},
          {"port", "u1", kPlace + offsetof(ChannelPlace, port)},
          {"pixel", "u1", kPlace + offsetof(ChannelPlace, pixel)},
          {"enabled", "?", offsetof(Channel, enabled), offsetof(Channel, enabledStatus)},
          {"threshold", "i2", offsetof(Channel, threshold), offsetof(Channel, thresholdStatus)},
          {"gain", "f4", offsetof(Channel, gain), offsetof(Channel, gainStatus)},
          {"enabled_status", "u1", offsetof(Channel, enabledStatus)},
          {"threshold_status", "u1", offsetof(Channel, thresholdStatus)},
          {"gain_status", "u1", offsetof(Channel, gainStatus)}};
}

/// Those that were measured of boards whose records show others are apart, by index of the board.
std::vector<float> MeasuredOf(const arrays::Channels& channels) {
  std::vector<float> gains(channels.channels.size(), kNothing);
  for (std::size_t i = 0; i < gains.size(); ++i) {
    if (channels.channels[i].gainStatus == arrays::Status::Known) { gains[i] = channels.channels[i].gain; }
  }
  for (const auto& board : channels.measured) {
    for (std::size_t pixel = 0; pixel < board.gains.size(); ++pixel) {
      if (auto gain = channels.MeasuredGain(board.board * arrays::kPixels + pixel)) {
        gains[board.board * arrays::kPixels + pixel] = *gain;
      }
    }
  }
  return gains;
}

}  // namespace

ChannelTable::ChannelTable(arrays::Channels channels)
    : measured_(MeasuredOf(channels)), channels_(std::move(channels.channels)), columns_(ColumnsOfChannel()) {
  // No gain shows a default.
  for (auto& channel : channels_) {
    if (channel.gainStatus != arrays::Status::Known) { channel.gain = kNothing; }
  }
  missing_ = MissingOf(channels_.data(), channels_.size(), sizeof(Channel), columns_);
}

Table ChannelTable::MakeTable() { return TableOf(std::move(channels_), std::move(missing_), columns_); }

pybind11::array ChannelTable::MakeMeasuredGains() {
  const auto count = static_cast<pybind11::ssize_t>(measured_.size());
  return Owned(std::move(measured_), pybind11::dtype("f4"), count);
}

}  // namespace brio::python
