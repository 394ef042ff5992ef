#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "experiment/DAQChannelMap.h"

namespace brio::benchmarks {

/// The far detector, counted as the DAQ does.
constexpr unsigned int kDiBlocks = 14;
constexpr unsigned int kDCMs = 12;
constexpr unsigned int kPorts = 64;
constexpr unsigned int kPixels = 32;
constexpr unsigned int kChannels = kDiBlocks * kDCMs * kPorts * kPixels;

/// What one would write instead of asking: a value for every channel of the far detector, in one array in the
/// DAQ's order.
template <class Value>
class ChannelArray {
public:
  ChannelArray(std::vector<Value> values, Value none) : values_(std::move(values)), none_(none) {}

  /// The value of a DAQ channel; that for none where the detector has no such channel.
  Value operator[](unsigned int channel) const {
    // Counted from 0; what is 0 in the channel becomes the largest number and fails the test.
    const unsigned int diblock = ((channel >> 22U) & 0x3FU) - 1;
    const unsigned int dcm = ((channel >> 16U) & 0x3FU) - 1;
    const unsigned int port = (channel >> 8U) & 0xFFU;
    const unsigned int pixel = channel & 0xFFU;
    if (diblock >= kDiBlocks || dcm >= kDCMs || port >= kPorts || pixel >= kPixels) { return none_; }
    return values_[((diblock * kDCMs + dcm) * kPorts + port) * kPixels + pixel];
  }

private:
  std::vector<Value> values_;
  Value none_;
};

}  // namespace brio::benchmarks
