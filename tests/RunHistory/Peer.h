#pragma once

#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::dbi {

/// The tests' way to the private steps and the state of a RunHistory.
struct RunHistoryTestPeer {
  struct Flags {
    bool daq;
    bool pixel;
    bool hardware;
    bool apdSettings;
    bool cooling;
    bool pot;
    bool mask;
    bool dq;
    bool runNotFound;
    bool analysisCounted;
    friend bool operator==(const Flags& a, const Flags& b) {
      return a.daq == b.daq && a.pixel == b.pixel && a.hardware == b.hardware &&
             a.apdSettings == b.apdSettings && a.cooling == b.cooling && a.pot == b.pot && a.mask == b.mask &&
             a.dq == b.dq && a.runNotFound == b.runNotFound && a.analysisCounted == b.analysisCounted;
    }
  };

  static Flags LoadedFlags(const RunHistory& run) {
    return {run.daqRunHistoryLoaded,    run.pixelInfoLoaded,    run.hardwareLoaded,
            run.apdSettingsLoaded,      run.coolingLoaded,      run.potLoaded,
            run.goodDiBlockMaskLoaded,  run.dqSubrunInfoLoaded, run.runNotFound,
            run.analysisChannelsCounted};
  }
  static void SetLoaded(RunHistory& run, bool daq, bool hardware, bool pixel, bool apdSettings) {
    run.daqRunHistoryLoaded = daq;
    run.hardwareLoaded = hardware;
    run.pixelInfoLoaded = pixel;
    run.apdSettingsLoaded = apdSettings;
  }

  /// To be changed at any time, so that from now on the questions read them afresh.
  static std::vector<RunHistory::DiBlock>& DiBlocks(RunHistory& run) {
    run.boardIndex.Disable();
    return run.diBlocks;
  }
  static unsigned int IndexedFacts(const RunHistory& run) { return run.boardIndex.Facts(); }
  static std::vector<RunHistory::BNEVB>& BNEVBs(RunHistory& run) { return run.bnevbs; }
  static std::vector<Subrun>& Subruns(RunHistory& run) { return run.subruns; }
  static std::string& TStartText(RunHistory& run) { return run.tStartText; }
  static std::string& TStopText(RunHistory& run) { return run.tStopText; }
  static std::string& DetectorName(RunHistory& run) { return run.detectorName; }
  static std::int32_t& NSubruns(RunHistory& run) { return run.nSubruns; }
  static std::int32_t& NTriggers(RunHistory& run) { return run.nTriggers; }
  static std::int32_t NAnalysisChannels(const RunHistory& run) { return run.nAnalysisChannels; }
  static std::int32_t& NTotalChannels(RunHistory& run) { return run.nTotalChannels; }
  static std::int32_t& NEnabledFEBs(RunHistory& run) { return run.nEnabledFEBs; }
  static std::int32_t& NInstrumentedFEBs(RunHistory& run) { return run.nInstrumentedFEBs; }
  static std::int32_t& GoodDiBlockMask(RunHistory& run) { return run.goodDiBlockMask; }
  static std::int32_t& CustomDiBlockMask(RunHistory& run) { return run.customDiBlockMask; }
  static std::uint32_t& NDCMs(RunHistory& run) { return run.nDCMs; }
  static std::int64_t& ConfigId(RunHistory& run) { return run.configId; }
  static float& TotalPOT(RunHistory& run) { return run.totalPOT; }
  static bool UseGoodDiBlockMask(const RunHistory& run) { return run.useGoodDiBlockMask; }
  static bool UseCustomMask(const RunHistory& run) { return run.useCustomMask; }
  static bool AbortIfNoMask(const RunHistory& run) { return run.abortIfNoMask; }
  static bool AbortIfRunMissing(const RunHistory& run) { return run.abortIfRunMissing; }
  static bool TimeQueries(const RunHistory& run) { return run.timeQueries; }
  static bool TimeParsing(const RunHistory& run) { return run.timeParsing; }
  static bool ApplyAnalysisMask(const RunHistory& run) { return run.applyAnalysisMask; }
  static int MaxLoadRetries(const RunHistory& run) { return run.maxLoadRetries; }
  static int SpareSetting(const RunHistory& run) { return run.spareSetting; }
  static std::vector<std::string> DBInfo(const RunHistory& run) {
    return {run.dbInfo1, run.dbInfo2, run.dbInfo3, run.dbInfo4};
  }
  static const std::vector<DQSubrunInfo>& CachedDQSubrunInfo(const RunHistory& run) {
    return run.dqSubrunInfo;
  }
  static const auto& BadChanHistory(const RunHistory& run) { return run.badChanHistory; }
  static const auto& ChanInfoHistory(const RunHistory& run) { return run.chanInfoHistory; }

  static void BuildMC(RunHistory& run) { run.BuildMC(); }
  static APDsByModule PullAPDInfoFromDB(RunHistory& run) { return run.PullAPDInfoFromDB(); }
  static LocationMap PullFEBInfoFromDB(RunHistory& run, const APDsByModule& apds) {
    return run.PullFEBInfoFromDB(apds);
  }
  static void MapHardwareToLocation(RunHistory& run) { run.MapHardwareToLocation(); }
  static void StoreMappedGains(RunHistory& run) { run.StoreMappedGains(); }
};

}  // namespace brio::dbi
