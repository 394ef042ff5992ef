#pragma once

#include "experiment/DAQChannelMap.h"

namespace daqchannelmap {

/// The layout of the near detector. Diblocks 1 to 3 have 64 planes of three modules of 32 cells each: the
/// even planes on DCMs 1 (the lowest module) and 2, the odd ones on DCMs 3 and 4 (the highest module).
/// Diblock 4 is the muon catcher: 22 planes of two or three modules, the even ones on DCM 1, the odd ones on
/// DCM 2.
class NearDetectorMap final : public DAQChannelMap {
public:
  DAQChannel getDAQChannel(LogicalChannel channel) const override;
  LogicalChannel getLogicalChannel(DAQChannel channel) const override;
  unsigned int getPixelOfTesterIndex(DAQChannel channel) const override;
};

}  // namespace daqchannelmap
