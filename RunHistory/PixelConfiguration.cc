#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <limits>

#include "RunHistory/ChannelLookup.h"
#include "RunHistory/DAQEnvironment.h"
#include "RunHistory/FreshTry.h"
#include "RunHistory/Pause.h"
#include "RunHistory/ProgressOutput.h"
#include "database/PlainText.h"
#include "experiment/daqconfig/PixelEnableMasks.h"
#include "experiment/daqconfig/PixelThresholds.h"

namespace brio::dbi {
namespace {

constexpr int kNoThreshold = 4095;
constexpr int kPixelsPerFEB = 32;
constexpr int kTryStep = 2;

/// A whole number of seconds between 1 and 2^tryNumber + 1.
unsigned int BackOffSeconds(int tryNumber) {
  const double fraction = static_cast<double>(random()) / 2147483647.0;
  // Scaled, not multiplied: no power of two is too large for a fraction of zero.
  const double seconds = std::trunc(std::ldexp(fraction, tryNumber) + 1.0);
  constexpr double kLongest = std::numeric_limits<unsigned int>::max();
  return static_cast<unsigned int>(std::min(seconds, kLongest));
}

void StoreConfiguration(RunHistory::FEB& feb, const std::string& dcmName, int port,
                        const dbutils::daqconfig::PixelEnableMasks& masks,
                        const dbutils::daqconfig::PixelThresholds& thresholds) {
  feb.isEnabled = true;
  int pixelMask = 0;
  masks.getPixelEnableMask(dcmName, port, pixelMask);
  feb.pixelEnableMask = pixelMask;
  feb.nEnabledPixels = masks.getEnabledPixelCountForFEB(dcmName, port);
  thresholds.getThresholdsForFEB(dcmName, port, feb.thresholds);
}

}  // namespace

bool RunHistory::LoadPixelInfo(int tryNumber) {
  bool tryAgain = false;
  if (pixelInfoLoaded || maxLoadRetries < tryNumber) { return LoadPixelInfoOnce(tryNumber, tryAgain); }
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  int n = tryNumber;
  return WithFreshTry([&] {
    for (;; n += kTryStep) {
      if (LoadPixelInfoOnce(n, tryAgain)) { return true; }
      // A load that begins afresh does so with the same try.
      if (!tryAgain || WillBeginAfresh() || n > std::numeric_limits<int>::max() - kTryStep) { return false; }
      // What is read afterwards is read afresh, and nobody's connection is held meanwhile.
      LoadScope::LeaveConnections();
      PauseSeconds(BackOffSeconds(n));
    }
  });
}

/// One try. \param tryAgain  set when the configuration was not valid and may be asked for again
bool RunHistory::LoadPixelInfoOnce(int tryNumber, bool& tryAgain) {
  tryAgain = false;
  if (maxLoadRetries < tryNumber) {
    WriteLine(std::cerr, "RunHistory::LoadPixelInfo giving up!");
    return false;
  }
  if (pixelInfoLoaded) { return true; }
  if (!LoadDAQRunHistory() || !LoadHardwareInfo()) { return false; }
  if (pixelInfoLoaded) { return true; }  // a simulated run was built without a configuration
  nTotalChannels = 0;
  nEnabledFEBs = 0;
  SetDAQEnvironment(detectorName);
  const auto names = ActiveDCMNames(diBlocks);
  ProgressLine("RunHistory: loading pixel enable masks");
  const dbutils::daqconfig::PixelEnableMasks masks(configId, names);
  ProgressLine("RunHistory: loading pixel thresholds");
  const dbutils::daqconfig::PixelThresholds thresholds(configId, names);
  ProgressLine("done!");
  if (!masks.hasValidData() || !thresholds.hasValidData()) {
    WriteLine(std::cerr, "RunHistory::LoadPixelInfo failed to get valid data");
    tryAgain = maxLoadRetries > 0;
    return false;
  }
  for (auto& diblock : diBlocks) {
    for (auto& dcm : diblock.dcms) {
      if (!dcm.isActive) { continue; }
      long long febMask = 0;
      masks.getFEBEnableMask(dcm.appName, febMask);
      dcm.febEnableMask = static_cast<std::uint64_t>(febMask);
      for (int port = 0; port < static_cast<int>(dcm.febs.size()); ++port) {
        if (!masks.febIsEnabled(dcm.appName, port)) { continue; }
        nTotalChannels += kPixelsPerFEB;
        ++nEnabledFEBs;
        StoreConfiguration(dcm.febs[static_cast<std::size_t>(port)], dcm.appName, port, masks, thresholds);
      }
    }
  }
  pixelInfoLoaded = true;
  return true;
}

int RunHistory::GetThreshold(const unsigned int& channel, bool& ok) {
  const PlaceInIndex place = InIndex(channel);
  if (place.exists) {
    const auto& board = boardIndex.At(place.dcmNumber, place.port);
    if (board.HasThreshold(place.pixel)) {
      ok = true;
      return board.thresholds[place.pixel];
    }
  }
  return ThresholdInRecords(channel, ok);
}

int RunHistory::GetThreshold(const geo::OfflineChan& channel, bool& ok) {
  const PlaceInIndex place = InIndex(channel);
  const auto& board = boardIndex.At(place.dcmNumber, place.port);
  if (board.HasThreshold(place.pixel)) {
    ok = true;
    return board.thresholds[place.pixel];
  }
  return ThresholdInRecords(channel, ok);
}

int RunHistory::ThresholdInRecords(const geo::OfflineChan& channel, bool& ok) {
  if (!pixelInfoLoaded) { LoadPixelInfo(0); }
  return ThresholdInRecords(DAQChannelOf(channel), ok);
}

int RunHistory::ThresholdInRecords(unsigned int channel, bool& ok) {
  if (!pixelInfoLoaded) { LoadPixelInfo(0); }
  IndexBoards();
  ok = false;
  const ChannelParts parts = PartsOf(*channelMap, channel);
  const DiBlock* diblock = FindDiBlock(diBlocks, parts.diblock);
  if (diblock == nullptr || diblock->isActive) { return kNoThreshold; }
  const DCM* dcm = FindDCM(*diblock, parts.dcm);
  if (dcm == nullptr || dcm->number == kNoDCM) { return kNoThreshold; }
  const FEB* feb = FindFEB(*dcm, parts.port);
  if (feb == nullptr || !IsBitSet(dcm->febEnableMask, parts.port) || !feb->isEnabled) { return kNoThreshold; }
  const auto pixelMask = static_cast<std::uint32_t>(feb->pixelEnableMask);
  if (!IsBitSet(pixelMask, parts.pixel) || !feb->isInstalled || parts.pixel >= feb->thresholds.size()) {
    return kNoThreshold;
  }
  ok = true;
  return feb->thresholds[parts.pixel];
}

}  // namespace brio::dbi
