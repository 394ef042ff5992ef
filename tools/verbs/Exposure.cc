#include "tools/verbs/Exposure.h"

#include "RunHistory/RunHistory.h"
#include "tools/shared/Format.h"
#include "tools/shared/Mask.h"
#include "tools/shared/POT.h"

namespace brio::tools {
namespace {

using arrays::RunLine;
using arrays::Status;

void Add(std::string& reasons, const std::string& reason) {
  reasons += (reasons.empty() ? "" : "; ") + reason;
}

/// The mask that counts, with the reason when there is none.
std::optional<int> MaskOf(const RunLine& line, const Options& options, const std::string& complaint,
                          std::string& reasons) {
  const bool isFar = briodaq::cnv::DetInfo::GetId(options.detector) == briodaq::cnv::Birch;
  if (options.customMask && isFar) { return options.customMask; }
  if (!line.goodDiBlocks.IsKnown()) {
    const bool isUnread = line.goodDiBlocks.status != Status::NotRecorded;
    Add(reasons, !isUnread           ? "no good-diblock mask is recorded"
                 : complaint.empty() ? "its good-diblock mask cannot be read"
                                     : complaint);
    return std::nullopt;
  }
  if (!options.analysisMask || !isFar) { return line.goodDiBlocks.value; }
  return brio::dbi::RunHistory(line.run, options.detector).ApplyAnalysisDiBlockMask(line.goodDiBlocks.value);
}

void ReadLiveTime(const RunLine& line, RunExposure& exposure) {
  if (line.duration.IsKnown()) {
    exposure.liveTime = line.duration.value;
  } else if (!line.start.IsKnown()) {
    Add(exposure.reason, "its start is not recorded");
  } else if (!line.stop.IsKnown()) {
    Add(exposure.reason, "its stop is not recorded");
  } else {
    Add(exposure.reason, "its start and stop are no times of one run");
  }
}

RunExposure ExposureOfRun(const RunLine& line, const Options& options, const std::string& complaint) {
  RunExposure exposure;
  exposure.run = line.run;
  const StoredPOT pot = POTOf(line, complaint);
  if (pot.outcome.ok) {
    exposure.pot = pot.pot;
  } else {
    exposure.reason = pot.outcome.reason;
  }
  ReadLiveTime(line, exposure);
  if (briodaq::cnv::DetInfo::GetId(options.detector) == briodaq::cnv::Alder) { return exposure; }
  if (const auto mask = MaskOf(line, options, complaint, exposure.reason)) {
    exposure.goodDiBlocks = static_cast<int>(DiBlocksOf(*mask).size());
    if (exposure.goodDiBlocks == 0) { Add(exposure.reason, "no diblock is good"); }
  }
  return exposure;
}

}  // namespace

Exposure ExposureOf(const std::vector<RunLine>& lines, const Options& options, const std::string& complaint) {
  Exposure all;
  double weighted = 0;
  bool hasMasks = false;
  for (const auto& line : lines) {
    const auto& run = all.runs.emplace_back(ExposureOfRun(line, options, complaint));
    if (!run.IsCounted() || !run.pot) { continue; }
    const double pot = ShortestValue(*run.pot);
    ++all.counted;
    all.pot += pot;
    all.liveTime += run.liveTime.value_or(0);
    hasMasks = hasMasks || run.goodDiBlocks;
    weighted += pot * run.goodDiBlocks.value_or(0);
  }
  if (hasMasks && all.pot > 0) { all.meanGoodDiBlocks = weighted / all.pot; }
  return all;
}

}  // namespace brio::tools
