#include "tools/report/RunReport.h"

#include <algorithm>
#include <array>

#include "arrays/Runs.h"
#include "database/LoadScope.h"
#include "tools/shared/RunRange.h"

namespace brio::tools {
namespace {

/// What is looked at first.
constexpr std::array kOrder{Quantity::Temperature, Quantity::Gain,    Quantity::Threshold,
                            Quantity::Voltage,     Quantity::Enabled, Quantity::Installed};

/// The maps that have a value for any board.
std::vector<BoardMap> MapsOf(const arrays::Boards& boards) {
  std::vector<BoardMap> maps;
  for (const auto quantity : kOrder) {
    const auto& infos = Quantities();
    const auto info = std::find_if(infos.begin(), infos.end(),
                                   [&](const QuantityInfo& each) { return each.quantity == quantity; });
    BoardMap map = MakeBoardMap(boards, *info);
    if (map.Count(arrays::Status::Known) > 0) { maps.push_back(std::move(map)); }
  }
  if (maps.empty()) { maps.push_back(MakeBoardMap(boards, QuantityNamed("installed"))); }
  return maps;
}

/// The run before one in the runs table; nothing for the first.
std::optional<int> RunBefore(const std::string& detector, int run) {
  arrays::RunSelection selection;
  selection.last = run - 1;
  selection.newest = 1;
  const auto runs = arrays::ListRuns(detector, selection);
  if (!runs || runs->empty()) { return std::nullopt; }
  return runs->back().run;
}

}  // namespace

std::optional<int> RunReport::GoodDiBlocks() const {
  const auto& facts = screened.screen.Object();
  const auto mask = facts.find("good_diblock_mask");
  return mask != facts.end() && mask->is_number() ? std::optional(mask->get<int>()) : std::nullopt;
}

std::string RunReport::Verdict() const {
  if (isSimulated) { return "A simulated run: a perfect detector, of which nothing is recorded."; }
  std::string text;
  if (!reason.empty()) { text = "Not everything could be read: " + reason + ". "; }
  const auto good = GoodDiBlocks();
  if (good) {
    int inRun = 0;
    int goodInRun = 0;
    for (const auto& diblock : loaded->history.GetDiBlocks()) {
      if (diblock.number < 1 || diblock.number > 14) { continue; }
      ++inRun;
      goodInRun += static_cast<int>(static_cast<unsigned int>(*good) >> (diblock.number - 1U) & 1U);
    }
    text += std::to_string(goodInRun) + " of " + Counted(static_cast<std::size_t>(inRun), "diblock") +
            " in the run are good. ";
  }
  if (unusual.empty()) { return text + "Nothing about its boards is unusual."; }
  return text + Counted(unusual.size(), "thing") + " about its boards " +
         (unusual.size() == 1 ? "is" : "are") + " unusual.";
}

std::shared_ptr<ComparedRun> RunReports::Load(int run) const {
  auto loaded = std::make_shared<ComparedRun>(run, options_.detector);
  ApplyTo(loaded->history, options_);
  LoadForComparison(*loaded);
  if (!loaded->parts.configuration.ok && loaded->parts.run.ok) {
    loaded->boards = arrays::MakeBoards(loaded->history, loaded->parts);
  }
  return loaded;
}

void RunReports::CompareWithRunBefore(RunReport& report) {
  if (report.isSimulated) {
    report.whyNotCompared = "simulated runs are all alike";
    return;
  }
  report.before = RunBefore(report.detector, report.run);
  if (!report.before) {
    report.whyNotCompared = "no run before it is known here";
    return;
  }
  if (!last_ || last_->history.GetRunNumber() != *report.before) { last_ = Load(*report.before); }
}

std::optional<RunReport> RunReports::Make(int run, std::string& why) {
  RunReport report;
  report.detector = options_.detector;
  report.run = run;
  report.isSimulated = IsSimulated(run);
  // First, since serials are kept of the run that was loaded last.
  CompareWithRunBefore(report);
  const brio::dbi::LoadScope oneSnapshot;
  report.loaded = Load(run);
  const auto& parts = report.loaded->parts;
  if (!parts.run.ok) {
    why = parts.run.reason;
    return std::nullopt;
  }
  auto& history = report.loaded->history;
  report.screened = ScreenOf(history, parts);
  report.maps = MapsOf(report.Boards());
  report.unusual = UnusualOf(report.Boards(), report.maps, report.GoodDiBlocks());
  if (report.before) {
    if (!last_->parts.configuration.ok) {
      report.whyNotCompared = last_->parts.UpTo(Depth::Configuration).reason;
    } else if (!parts.configuration.ok) {
      report.whyNotCompared = parts.configuration.reason;
    } else {
      report.difference = Compare(*last_, *report.loaded);
      report.whyNotCompared = report.difference->notCompared;
      report.changes = ChangesOf(*report.difference, report.Boards());
    }
  }
  report.sources = SourcesOf(report.detector, run);
  const Outcome& deepest = parts.UpTo(Depth::Settings);
  if (!report.isSimulated && !deepest.IsClean()) {
    report.reason = deepest.reason;
  } else if (!report.screened.couldRead) {
    report.reason = "not everything could be read";
  }
  last_ = report.loaded;
  return report;
}

}  // namespace brio::tools
