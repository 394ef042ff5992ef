#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace brio::tools {

/// Where a channel is, both ways of naming it.
struct ChannelAddress {
  std::uint32_t daqChannel = 0;
  unsigned int diblock = 0;
  unsigned int dcm = 0;
  unsigned int port = 0;
  unsigned int pixel = 0;
  /// The detector reads a cell out there; only then plane and cell mean something.
  bool exists = false;
  unsigned int plane = 0;
  unsigned int cell = 0;
};

/// Reads a DAQ channel id ("142869777", "0x8840111"), an offline channel ("66,17") or a place in the readout
/// ("2/1/1/17": diblock, DCM, port, pixel; "dcm-2-02-01/1/17", with the DCM's name; "dcm-2-2-1-1/17", with
/// the board's as messages have it). \return nothing, with the reason in `why`, for any other text
std::optional<ChannelAddress> ParseChannel(const std::string& given, int detector, std::string& why);

}  // namespace brio::tools
