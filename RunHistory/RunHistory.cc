#include "RunHistory/RunHistory.h"

#include <iostream>
#include <new>
#include <utility>

#include "RunHistory/Members.h"
#include "RunHistory/OfflineBoards.h"
#include "database/PlainText.h"
#include "experiment/DAQChannelMap.h"

namespace brio::dbi {

using briodaq::cnv::DetId;
using briodaq::cnv::DetInfo;

namespace {

template <class Members>
void Swap(Members members, Members others) noexcept {
  members.swap(others);
}

}  // namespace

RunHistory::DiBlock::DiBlock(unsigned int nDCMs) : dcms(nDCMs) {
  for (unsigned int i = 0; i < nDCMs; ++i) {
    dcms[i].number = static_cast<std::uint16_t>(i + 1);
  }
}

RunHistory::RunHistory() : nSubruns(-1) {
  SetDetector(briodaq::cnv::Unknown);
  InvalidateCaches();
}

RunHistory::RunHistory(int run, std::string name) : runNumber(run) {
  SetDetector(name);
  InvalidateCaches();
}

RunHistory::RunHistory(int run, DetId detector) : runNumber(run) {
  SetDetector(detector);
  InvalidateCaches();
}

RunHistory::~RunHistory() = default;

RunHistory::RunHistory(RunHistory&& other) noexcept
    : nSubruns(-1),
      detectorName(DetInfo::GetName(briodaq::cnv::Unknown)),
      tStartText(),  // NOLINT(readability-redundant-member-init): empty allocates nothing
      channelMap(daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Unknown)),
      offlineBoards(&OfflineBoards::None()) {
  Swap(LoadedMembers(), other.LoadedMembers());
  Swap(OtherMembers(), other.OtherMembers());
  try {
    RunHistory fresh;
    other.tStartText.swap(fresh.tStartText);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): its start is then no time at all
  }
}

RunHistory& RunHistory::operator=(RunHistory&& other) noexcept {
  RunHistory moved(std::move(other));
  Swap(LoadedMembers(), moved.LoadedMembers());
  Swap(OtherMembers(), moved.OtherMembers());
  return *this;
}

void RunHistory::SetRunNumber(int run) {
  if (run != runNumber) { InvalidateCaches(); }
  runNumber = run;
}

void RunHistory::SetDetector(DetId id) {
  if (id != detectorId) { InvalidateCaches(); }
  if (!DetInfo::DetIdOk(id) && id != briodaq::cnv::Unknown) {
    WriteLine(std::cerr, "Bad detector id: ", static_cast<int>(id));
    throw;
  }
  detectorId = id;
  detectorName = DetInfo::GetName(id);
  channelMap = daqchannelmap::DAQChannelMap::getInstance(id);
  offlineBoards = &OfflineBoards::None();
}

void RunHistory::SetDetector(const std::string& name) {
  if (!DetInfo::DetNameOk(name)) {
    WriteLine(std::cerr, "Bad detector id: ", name);
    throw;
  }
  SetDetector(static_cast<DetId>(DetInfo::GetId(name)));
}

void RunHistory::SetDBInfo(std::string info1, std::string info2, std::string info3, std::string info4) {
  dbInfo1 = std::move(info1);
  dbInfo2 = std::move(info2);
  dbInfo3 = std::move(info3);
  dbInfo4 = std::move(info4);
}

void RunHistory::InvalidateCaches() {
  runNotFound = false;
  daqRunHistoryLoaded = false;
  pixelInfoLoaded = false;
  hardwareLoaded = false;
  apdSettingsLoaded = false;
  coolingLoaded = false;
  potLoaded = false;
  goodDiBlockMaskLoaded = false;
  dqSubrunInfoLoaded = false;
  analysisChannelsCounted = false;
  isMC = false;
  goodDiBlockMask = 0;
  totalPOT = 0.0F;
  nTriggers = 0;
  nActiveChannels = 0;
  nAnalysisChannels = 0;
  nTotalChannels = 0;
  nEnabledFEBs = 0;
  nInstrumentedFEBs = 0;
  customDiBlockMask = 0;
  diBlocks.clear();
  settingsFacts.clear();
  locationMapping = 0;
  boardIndex.Clear();
}

}  // namespace brio::dbi
