#include <stdexcept>

#include "RunHistory/ChannelLookup.h"
#include "RunHistory/FreshTry.h"
#include "database/LoadScope.h"

namespace brio::dbi {

/// The DAQ channel of an offline channel of the run's detector; no channel for one that it does not have.
unsigned int RunHistory::DAQChannelOf(const geo::OfflineChan& channel) {
  offlineBoards = &OfflineBoards::Of(detectorId);
  try {
    return channelMap->getDAQChannel(channelMap->encodeLChan(
        detectorId, static_cast<std::uint16_t>(channel.Plane()), static_cast<std::uint16_t>(channel.Cell())));
  } catch (const std::out_of_range&) { return daqchannelmap::DAQChannelMap::kNoChannel; }
}

bool RunHistory::HasAPD(const unsigned int& channel) {
  const PlaceInIndex place = InIndex(channel);
  if (place.exists && boardIndex.At(place.dcmNumber, place.port).hasAPD && !useGoodDiBlockMask) {
    return true;
  }
  return HasAPDInRecords(channel);
}

bool RunHistory::HasAPD(const geo::OfflineChan& channel) {
  const PlaceInIndex place = InIndex(channel);
  if (boardIndex.At(place.dcmNumber, place.port).hasAPD && !useGoodDiBlockMask) { return true; }
  return HasAPDInRecords(channel);
}

bool RunHistory::HasAPDInRecords(const geo::OfflineChan& channel) {
  const unsigned int daqChannel = DAQChannelOf(channel);
  if (daqChannel != daqchannelmap::DAQChannelMap::kNoChannel) { return HasAPDInRecords(daqChannel); }
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  return false;
}

bool RunHistory::HasAPDInRecords(unsigned int daqChannel) {
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  IndexBoards();
  const ChannelParts channel = PartsOf(*channelMap, daqChannel);
  if (IsSimulated()) { return IsGoodDiBlock(static_cast<int>(channel.diblock)); }
  const DiBlock* diblock = FindDiBlock(diBlocks, channel.diblock);
  if (diblock == nullptr || diblock->isActive) { return false; }
  if (!IsGoodDiBlock(static_cast<int>(channel.diblock))) { return false; }
  const DCM* dcm = FindDCM(*diblock, channel.dcm);
  if (dcm == nullptr || !dcm->isActive) { return false; }
  const FEB* feb = FindFEB(*dcm, channel.port);
  return feb != nullptr && feb->isInstalled;
}

/// Makes sure that everything a board's answer needs was loaded, as far as it can be.
/// \return false when the board cannot be had for lack of APD settings, or the run lacks the channel's
/// diblock
bool RunHistory::LoadForLiveFEB(const ChannelParts& channel) {
  const LoadScope scope(timeQueries, timeParsing, runNumber);
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
  IndexBoards();
  const DiBlock* diblock = FindDiBlock(diBlocks, channel.diblock);
  if (diblock == nullptr || diblock->isActive) { return nullptr; }
  const DCM* dcm = FindDCM(*diblock, channel.dcm);
  if (dcm == nullptr || dcm->number == kNoDCM) { return nullptr; }
  const FEB* feb = FindFEB(*dcm, channel.port);
  ok = feb != nullptr && IsBitSet(dcm->febEnableMask, channel.port) && feb->isEnabled && feb->isInstalled;
  return ok ? feb : nullptr;
}

RunHistory::FEB RunHistory::GetFEB(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(*channelMap, channel), ok);
  return feb != nullptr ? *feb : FEB();
}

RunHistory::FEB RunHistory::GetFEB(const geo::OfflineChan& channel, bool& ok) {
  return GetFEB(DAQChannelOf(channel), ok);
}

float RunHistory::GetGain(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(*channelMap, channel), ok);
  return feb != nullptr ? feb->avgGain : 0.0F;
}

float RunHistory::GetGain(const geo::OfflineChan& channel, bool& ok) {
  return GetGain(DAQChannelOf(channel), ok);
}

float RunHistory::GetPixelGain(const unsigned int& channel, bool& ok) {
  const PlaceInIndex place = InIndex(channel);
  if (place.exists) {
    const auto& board = boardIndex.At(place.dcmNumber, place.port);
    if (board.gains != nullptr && maxLoadRetries >= 0) {
      ok = true;
      return board.gains[place.pixel];
    }
  }
  return PixelGainInRecords(channel, ok);
}

float RunHistory::GetPixelGain(const geo::OfflineChan& channel, bool& ok) {
  const PlaceInIndex place = InIndex(channel);
  const auto& board = boardIndex.At(place.dcmNumber, place.port);
  if (board.gains != nullptr && maxLoadRetries >= 0) {
    ok = true;
    return board.gains[place.pixel];
  }
  return PixelGainInRecords(channel, ok);
}

float RunHistory::PixelGainInRecords(const geo::OfflineChan& channel, bool& ok) {
  return PixelGainInRecords(DAQChannelOf(channel), ok);
}

float RunHistory::PixelGainInRecords(unsigned int channel, bool& ok) {
  const ChannelParts parts = PartsOf(*channelMap, channel);
  const FEB* feb = LiveFEB(parts, ok);
  return feb != nullptr && parts.pixel < feb->pixelGains.size() ? feb->pixelGains[parts.pixel] : 0.0F;
}

std::vector<float> RunHistory::GetPixelGains(const unsigned int& channel, bool& ok) {
  const FEB* feb = LiveFEB(PartsOf(*channelMap, channel), ok);
  return feb != nullptr ? feb->pixelGains : std::vector<float>(32, 0.0F);
}

std::vector<float> RunHistory::GetPixelGains(const geo::OfflineChan& channel, bool& ok) {
  return GetPixelGains(DAQChannelOf(channel), ok);
}

}  // namespace brio::dbi
