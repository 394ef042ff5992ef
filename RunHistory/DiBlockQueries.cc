#include <algorithm>
#include <stdexcept>

#include "RunHistory/FreshTry.h"
#include "RunHistory/OfflineBoards.h"
#include "database/LoadScope.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

constexpr int kPixelsPerFEB = 32;
constexpr int kFarDiBlocks = 14;
constexpr int kNearDiBlocks = 4;
// More boards than these make a diblock fully instrumented.
constexpr int kFarBoards = 699;
constexpr int kNearBoards = 174;
constexpr int kMuonCatcherBoards = 44;

}  // namespace

unsigned int RunHistory::NDCMs() {
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  return nDCMs;
}

unsigned int RunHistory::NLiveDCMs() {
  if (!hardwareLoaded) { LoadHardwareInfo(); }
  unsigned int live = 0;
  for (const auto& diblock : diBlocks) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { ++live; }
    }
  }
  return live;
}

int RunHistory::NAnalysisChannels() {
  if (analysisChannelsCounted) { return nAnalysisChannels; }
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return NAnalysisChannels(); });
  }
  nAnalysisChannels = 0;
  LoadDAQRunHistory();
  LoadHardwareInfo();
  for (const auto& diblock : diBlocks) {
    if (IsGoodDiBlock(diblock.number)) { nAnalysisChannels += kPixelsPerFEB * diblock.nInstrumentedFEBs; }
  }
  analysisChannelsCounted = true;
  return nAnalysisChannels;
}

RunHistory::DiBlock RunHistory::GetDiBlock(int index, bool loadAll) {
  const auto isThere = [&] { return index >= 0 && index < static_cast<int>(diBlocks.size()); };
  if (!hardwareLoaded || (loadAll && !HasAllDetInfo())) {
    const LoadScope scope(timeQueries, timeParsing, runNumber);
    WithFreshTry([&] {
      LoadHardwareInfo();
      return isThere() && loadAll && LoadAllDetInfo();
    });
  }
  if (!isThere()) { throw std::runtime_error("RunHistory::GetDiBlock: invalid diblock!"); }
  return diBlocks[static_cast<std::size_t>(index)];
}

bool RunHistory::IsDiBlockFullyInstrumented(int diblock) {
  LoadHardwareInfo();
  const auto found = std::find_if(diBlocks.begin(), diBlocks.end(),
                                  [&](const DiBlock& candidate) { return candidate.number == diblock; });
  if (found == diBlocks.end()) { return false; }
  const int boards = found->nInstrumentedFEBs;
  switch (DetInfo::GetId(detectorName)) {
    case briodaq::cnv::Birch: return boards > kFarBoards;
    case briodaq::cnv::Alder:
      return (diblock <= 3 && boards > kNearBoards) || (diblock == 4 && boards > kMuonCatcherBoards);
    default: return false;
  }
}

unsigned int RunHistory::GetConfiguration() {
  LoadHardwareInfo();
  const int detector = DetInfo::GetId(detectorName);
  if (detector != briodaq::cnv::Alder && detector != briodaq::cnv::Birch) { return 0; }
  const bool isNear = detector == briodaq::cnv::Alder;
  const int nMarks = isNear ? kNearDiBlocks : kFarDiBlocks;
  unsigned int configuration = 0;
  for (std::size_t position = 0; position < diBlocks.size(); ++position) {
    const int boards = diBlocks[position].nInstrumentedFEBs;
    const int number = diBlocks[position].number;
    // On the near detector the threshold goes by position, whatever the diblock's number.
    const bool full = !isNear        ? boards > kFarBoards
                      : position < 3 ? boards > kNearBoards
                                     : position == 3 && boards > kMuonCatcherBoards;
    if (full && number >= 1 && number <= nMarks) {
      configuration |= 1U << static_cast<unsigned int>(number - 1);
    }
  }
  return configuration;
}

bool RunHistory::HasAllDetInfo() const {
  // A negative number of retries makes the pixel loader speak up at every call.
  return daqRunHistoryLoaded && hardwareLoaded && pixelInfoLoaded && apdSettingsLoaded && maxLoadRetries >= 0;
}

bool RunHistory::LoadAllDetInfo() {
  if (HasAllDetInfo()) { return true; }
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  const bool isLoaded = WithFreshTry(
      [this] { return LoadDAQRunHistory() && LoadHardwareInfo() && LoadPixelInfo(0) && LoadAPDSettings(); });
  if (isLoaded) {
    // So that the questions that follow only look up.
    IndexBoards();
    offlineBoards = &OfflineBoards::Of(detectorId);
  }
  return isLoaded;
}

}  // namespace brio::dbi
