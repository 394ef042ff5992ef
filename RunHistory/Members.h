#pragma once

#include <tuple>

#include "RunHistory/RunHistory.h"

namespace brio::dbi {

/// What loaders write, and with it the one setting that a load clears.
inline auto RunHistory::LoadedMembers() {
  return std::tie(runNotFound, daqRunHistoryLoaded, pixelInfoLoaded, hardwareLoaded, apdSettingsLoaded,
                  coolingLoaded, potLoaded, goodDiBlockMaskLoaded, dqSubrunInfoLoaded,
                  analysisChannelsCounted, isMC, useGoodDiBlockMask, nSubruns, nTriggers, nActiveChannels,
                  nAnalysisChannels, nTotalChannels, nEnabledFEBs, nInstrumentedFEBs, partition,
                  goodDiBlockMask, nDCMs, totalPOT, runType, tStartText, tStopText, diBlocks, bnevbs, subruns,
                  dqSubrunInfo, configId, settingsFacts, locationMapping);
}

/// All the others.
inline auto RunHistory::OtherMembers() {
  return std::tie(timeQueries, timeParsing, applyAnalysisMask, useCustomMask, abortIfNoMask,
                  abortIfRunMissing, abortIfIncomplete, mayBeginAfresh, customDiBlockMask, runNumber,
                  detectorId, spareSetting, maxLoadRetries, dbInfo1, dbInfo2, dbInfo3, dbInfo4, detectorName,
                  spareText, spareList, badChanHistory, chanInfoHistory, incompleteParts, boardIndex,
                  channelMap, offlineBoards);
}

}  // namespace brio::dbi
