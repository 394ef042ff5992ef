#include <iostream>

#include "RunHistory/ChannelLookup.h"
#include "RunHistory/RunHistory.h"
#include "database/PlainText.h"

namespace brio::dbi {

bool RunHistory::LoadCoolingInfo() const { return coolingLoaded; }

bool RunHistory::LoadDCSAlarms(int /*unused*/) { return false; }

bool RunHistory::IsCooled(const unsigned int& channel) {
  WriteLine(std::cerr, "WARNING: RunHistory::IsCooled() is not yet implemented!");
  if (!LoadPixelInfo(0)) { return false; }
  const ChannelParts parts = PartsOf(*channelMap, channel);
  const DiBlock* diblock = FindDiBlock(diBlocks, parts.diblock);
  if (diblock == nullptr || diblock->isActive) { return false; }
  const DCM* dcm = FindDCM(*diblock, parts.dcm);
  if (dcm == nullptr || !dcm->isActive || dcm->number == kNoDCM) { return false; }
  const FEB* feb = FindFEB(*dcm, parts.port);
  return feb != nullptr && feb->isEnabled && feb->isInstalled && feb->cooled;
}

bool RunHistory::IsCooled(const geo::OfflineChan& channel) { return IsCooled(DAQChannelOf(channel)); }

}  // namespace brio::dbi
