#include <stdexcept>

#include "RunHistory/ChannelLookup.h"
#include "RunHistory/FreshTry.h"
#include "database/LoadScope.h"

namespace brio::dbi {

/// The DAQ channel of an offline channel of the run's detector; no channel for one that it does not have.
unsigned int RunHistory::DAQChannelOf(const geo::OfflineChan& channel) const {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(detectorId);
  try {
    return map.getDAQChannel(map.encodeLChan(detectorId, static_cast<std::uint16_t>(channel.Plane()),
                                             static_cast<std::uint16_t>(channel.Cell())));
  } catch (const std::out_of_range&) { return daqchannelmap::DAQChannelMap::kNoChannel; }
}

bool RunHistory::HasAPD(const unsigned int& channel) {
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  const ChannelParts parts = PartsOf(detectorId, channel);
  if (IsSimulated()) { return IsGoodDiBlock(static_cast<int>(parts.diblock)); }
  DiBlock* diblock = FindDiBlock(diBlocks, parts.diblock);
  if (diblock == nullptr || diblock->isActive) { return false; }
  if (!IsGoodDiBlock(static_cast<int>(parts.diblock))) { return false; }
  DCM* dcm = FindDCM(*diblock, parts.dcm);
  if (dcm == nullptr || !dcm->isActive) { return false; }
  const FEB* feb = FindFEB(*dcm, parts.port);
  return feb != nullptr && feb->isInstalled;
}

bool RunHistory::HasAPD(const geo::OfflineChan& channel) {
  const unsigned int daqChannel = DAQChannelOf(channel);
  if (daqChannel != daqchannelmap::DAQChannelMap::kNoChannel) { return HasAPD(daqChannel); }
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  return false;
}

/// Makes sure that everything a board's answer needs was loaded, as far as it can be.
/// \return false when the board cannot be had for lack of APD settings, or the run lacks the channel's
/// diblock
bool RunHistory::LoadForLiveFEB(const ChannelParts& channel) {
  const LoadScope scope;
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([&] { return LoadForLiveFEB(channel); });
  }
  if (!LoadAPDSettings()) { return false; }
  if (FindDiBlock(diBlocks, channel.diblock) == nullptr) { return false; }
  LoadHardwareInfo();
  LoadAllDetInfo();
  return true;
}

/// The channel's board when it is installed and enabled, with `ok` set; else null.
const RunHistory::FEB* RunHistory::LiveFEB(const ChannelParts& channel, bool& ok) {
  ok = false;
  if (!HasAllDetInfo() && !LoadForLiveFEB(channel)) { return nullptr; }
  DiBlock* diblock = FindDiBlock(diBlocks, channel.diblock);
  if (diblock == nullptr || diblock->isActive) { return nullptr; }
  DCM* dcm = FindDCM(*diblock, channel.dcm);
  if (dcm == nullptr || dcm->number == kNoDCM) { return nullptr; }
  const FEB* feb = FindFEB(*dcm, channel.port);
  ok = feb != nullptr && IsBitSet(dcm->febEnableMask, channel.port) && feb->isEnabled && feb->isInstalled;
  return ok ? feb : nullptr;
}

RunHistory::FEB RunHistory::GetFEB(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(detectorId, channel), ok);
  return feb != nullptr ? *feb : FEB();
}

RunHistory::FEB RunHistory::GetFEB(const geo::OfflineChan& channel, bool& ok) {
  return GetFEB(DAQChannelOf(channel), ok);
}

float RunHistory::GetGain(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(detectorId, channel), ok);
  return feb != nullptr ? feb->avgGain : 0.0F;
}

float RunHistory::GetGain(const geo::OfflineChan& channel, bool& ok) {
  return GetGain(DAQChannelOf(channel), ok);
}

float RunHistory::GetPixelGain(const unsigned int& channel, bool& ok) {
  const ChannelParts parts = PartsOf(detectorId, channel);
  const FEB* feb = LiveFEB(parts, ok);
  return feb != nullptr && parts.pixel < feb->pixelGains.size() ? feb->pixelGains[parts.pixel] : 0.0F;
}

float RunHistory::GetPixelGain(const geo::OfflineChan& channel, bool& ok) {
  return GetPixelGain(DAQChannelOf(channel), ok);
}

std::vector<float> RunHistory::GetPixelGains(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(detectorId, channel), ok);
  return feb != nullptr ? feb->pixelGains : std::vector<float>(32, 0.0F);
}

std::vector<float> RunHistory::GetPixelGains(const geo::OfflineChan& channel, bool& ok) {
  return GetPixelGains(DAQChannelOf(channel), ok);
}

}  // namespace brio::dbi
