// Any 32 bits as a DAQ channel and as a logical channel: conversions go back to where they came from, and the
// questions of a run without diblocks answer their defaults.
#include <cstring>

#include "experiment/DAQChannelMap.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using daqchannelmap::DAQChannelMap;
  if (size < 5) { return 0; }
  std::uint32_t channel = 0;
  std::memcpy(&channel, data, sizeof(channel));
  const auto& map = *DAQChannelMap::getInstance(static_cast<std::int8_t>(data[4]));
  const auto logical = map.getLogicalChannel(channel);
  if (logical != DAQChannelMap::kNoChannel) {
    const auto back = map.getDAQChannel(logical);
    brio::fuzz::Require(back == channel || logical == 0, "a DAQ channel comes back");
  }
  const auto daq = map.getDAQChannel(channel);
  if (daq != DAQChannelMap::kNoChannel) {
    brio::fuzz::Require(map.getLogicalChannel(daq) == channel, "a logical channel comes back");
    brio::fuzz::Require(map.encodeDChan(static_cast<int>(map.getDetector(daq)), map.getDiBlock(daq),
                                        map.getDCM(daq), map.getFEB(daq), map.getPixel(daq)) == daq,
                        "the parts of a channel encode to it");
  }
  brio::fuzz::Require(map.getPixelOfTesterIndex(channel) < 32, "a pixel is one of 32");
  return 0;
}
