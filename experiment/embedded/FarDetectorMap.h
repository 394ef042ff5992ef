#pragma once

#include "experiment/DAQChannelMap.h"

namespace daqchannelmap {

/// The layout of the far detector, which every detector but the near one shares: 14 diblocks of 64 planes, 12
/// DCMs of 64 ports each, 12 modules of 32 cells a plane. DCMs 1 to 6 read out the even planes, 7 to 12 the
/// odd ones; a DCM has two modules of each of its 32 planes, the lower one on ports 0 to 31.
class FarDetectorMap final : public DAQChannelMap {
public:
  DAQChannel getDAQChannel(LogicalChannel channel) const override;
  LogicalChannel getLogicalChannel(DAQChannel channel) const override;
  unsigned int getPixelOfTesterIndex(DAQChannel channel) const override;
};

}  // namespace daqchannelmap
