#include <tuple>

#include "RunHistory/FreshTry.h"
#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunTable.h"
#include "database/LoadScope.h"
#include "database/PlainText.h"
#include "database/Timing.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

constexpr int kAllGood = 0x1FFFF;
constexpr int kAllGoodWithoutMask = 0xFFFF;
constexpr int kFarDiBlocks = 14;
constexpr int kShortestAnalysisRegion = 4;

}  // namespace

bool RunHistory::LoadGoodDiBlockMask() {
  if (goodDiBlockMaskLoaded) { return true; }
  goodDiBlockMask = 0;
  const int detector = DetInfo::GetId(detectorName);
  if (!useGoodDiBlockMask) {
    goodDiBlockMask = kAllGood;
    goodDiBlockMaskLoaded = true;
    return true;
  }
  if (detector == briodaq::cnv::Alder) {
    useGoodDiBlockMask = false;
    goodDiBlockMaskLoaded = true;
    return true;
  }
  if (useCustomMask && detector == briodaq::cnv::Birch) {
    goodDiBlockMask = customDiBlockMask;
    goodDiBlockMaskLoaded = true;
    ProgressLine("RunHistory: Applying custom mask: ", DiBlockMaskToString(goodDiBlockMask));
    return true;
  }
  if (IsSimulated()) {
    useGoodDiBlockMask = false;
    goodDiBlockMask = kAllGood;
    goodDiBlockMaskLoaded = true;
    return true;
  }

  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return LoadGoodDiBlockMask(); },
                        std::tie(goodDiBlockMaskLoaded, goodDiBlockMask));
  }
  const auto table = OpenTable("RunHistory/tables/GoodDiBlocksVsRun.xml", timeQueries, timeParsing);
  if (!DetInfo::DetNameOk(detectorName)) { return false; }
  table->SetDetector(detectorName);
  const int maskColumn = table->GetColIndex("dbmask");
  table->SetValidityRange<int>("run", runNumber);
  table->AddOrderColumn("inserttime");
  table->SetOrderDesc();
  const bool found = table->Load() && table->NRow() > 0;
  if (found) {
    const ConversionTimer timer("dataquality.gooddiblocksvsrun", table->NRow());
    table->GetRow(0)->Col(maskColumn).Get(goodDiBlockMask);
  } else if (abortIfNoMask) {
    throw cet::exception("RunHistory") << "No mask found in DB!";
  } else {
    ProgressLine("WARNING: RunHistory::LoadGoodDiBlockMask(): No good diblock mask info found for run ",
                 runNumber, ", so assuming all good diblocks");
    goodDiBlockMask = kAllGoodWithoutMask;
  }
  if (applyAnalysisMask && detector == briodaq::cnv::Birch && found) {
    const int analysisMask = ApplyAnalysisDiBlockMask(goodDiBlockMask);
    const std::string before = DiBlockMaskToString(goodDiBlockMask);
    if (analysisMask == goodDiBlockMask) {
      ProgressLine("Applying analysis diblock masking: mask unchanged from ", before);
    } else {
      ProgressLine("Applying analysis diblock masking: mask modified from ", before, " to ",
                   DiBlockMaskToString(analysisMask));
    }
    goodDiBlockMask = analysisMask;
  }
  if (goodDiBlockMask == 0) {
    ProgressLine("WARNING: entire detector masked off by analysis requirements!");
    ProgressLine("RunHistory::LoadGoodDiBlockMask(): No analyzable detector region found for run ",
                 runNumber);
  }
  goodDiBlockMaskLoaded = true;
  return true;
}

bool RunHistory::IsGoodByMask(int diblock) {
  LoadGoodDiBlockMask();
  if (diblock < 1) { return false; }
  const unsigned int bit = static_cast<unsigned int>(diblock - 1) % 32U;
  return ((static_cast<std::uint32_t>(goodDiBlockMask) >> bit) & 1U) != 0;
}

std::string RunHistory::DiBlockMaskToString(int mask) const {
  std::string picture;
  for (unsigned int i = 0; i < kFarDiBlocks; ++i) {
    picture += ((static_cast<unsigned int>(mask) >> i) & 1U) != 0 ? '#' : '-';
  }
  return picture;
}

int RunHistory::ApplyAnalysisDiBlockMask(int mask) const {
  unsigned int result = 0;
  unsigned int current = 0;
  int start = -1;
  int previousLength = 0;
  for (int i = 0; i < kFarDiBlocks; ++i) {
    const unsigned int bit = 1U << static_cast<unsigned int>(i);
    const bool good = (static_cast<unsigned int>(mask) & bit) != 0;
    const bool last = i == kFarDiBlocks - 1;
    if (start < 0 && good) { start = i; }
    if (start >= 0 && good) { current |= bit; }
    if (start >= 0 && (!good || last)) {
      const int length = i - start + (good && last ? 1 : 0);
      // Each region is held against the one before it, not against the longest so far.
      if (length >= kShortestAnalysisRegion && length >= previousLength) { result = current; }
      start = -1;
      current = 0;
      previousLength = length;
    }
  }
  return static_cast<int>(result);
}

}  // namespace brio::dbi
