#include "tools/verbs/RunDifference.h"

#include <algorithm>

#include "arrays/Records.h"
#include "database/LoadScope.h"
#include "tools/shared/Format.h"
#include "tools/shared/Mask.h"
#include "tools/shared/POT.h"

namespace brio::tools {
namespace {

using arrays::Status;
using brio::dbi::RunHistory;

template <class Visit>
void ForEachActiveDCM(const RunHistory& history, const Visit& visit) {
  for (const auto& diblock : history.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { visit(diblock, dcm); }
    }
  }
}

std::vector<std::string> DCMsOf(const RunHistory& history) {
  std::vector<std::string> names;
  ForEachActiveDCM(history, [&](const RunHistory::DiBlock& diblock, const RunHistory::DCM& dcm) {
    names.push_back(std::to_string(diblock.number) + "/" + std::to_string(dcm.number));
  });
  return names;
}

std::vector<std::string> EventBuildersOf(const RunHistory& history) {
  std::vector<std::string> names;
  for (const auto& builder : history.GetBNEVBs()) {
    names.push_back(builder.appName);
  }
  return names;
}

ChangedSet Compared(const std::vector<std::string>& before, const std::vector<std::string>& after) {
  const auto missingFrom = [](const std::vector<std::string>& all, const std::vector<std::string>& some) {
    std::vector<std::string> sorted(some);
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::string> missing;
    std::copy_if(all.begin(), all.end(), std::back_inserter(missing), [&](const std::string& name) {
      return !std::binary_search(sorted.begin(), sorted.end(), name);
    });
    return missing;
  };
  return {missingFrom(before, after), missingFrom(after, before)};
}

std::string Written(const arrays::BoardPlace& at) {
  return std::to_string(at.diblock) + "/" + std::to_string(at.dcm) + "/" + std::to_string(at.port);
}

bool IsYes(const arrays::Value<bool>& value) { return value.IsKnown() && value.value; }

void CompareBoards(const arrays::Boards& before, const arrays::Boards& after, RunDifference& difference) {
  for (std::size_t i = 0; i < before.boards.size(); ++i) {
    const auto& a = before.boards[i];
    const auto& b = after.boards[i];
    const bool was = IsYes(a.installed);
    const bool is = IsYes(b.installed);
    if (was != is) {
      (was ? difference.installed.onlyBefore : difference.installed.onlyAfter).push_back(Written(a.place));
    }
    if (!was || !is || !a.enabled.IsKnown() || !b.enabled.IsKnown()) { continue; }
    if (a.enabled.value == b.enabled.value) { continue; }
    (a.enabled.value ? difference.enabled.onlyBefore : difference.enabled.onlyAfter)
        .push_back(Written(a.place));
  }
}

void CompareThresholds(const arrays::Channels& before, const arrays::Channels& after,
                       RunDifference& difference) {
  for (std::size_t i = 0; i < before.channels.size(); ++i) {
    const auto& a = before.channels[i];
    const auto& b = after.channels[i];
    if (a.thresholdStatus != Status::Known || b.thresholdStatus != Status::Known) { continue; }
    ++difference.comparedThresholds;
    if (a.threshold == b.threshold) { continue; }
    const auto& at = a.place;
    difference.thresholds.push_back({at.diblock, at.dcm, at.port, at.pixel, a.threshold, b.threshold});
  }
}

std::string Shown(int value) { return std::to_string(value); }
std::string Shown(float value) { return arrays::Shortest(value); }
std::string Shown(const std::string& value) { return value; }

template <class T>
ChangedQuantity Quantity(const char* name, const char* key, arrays::Value<T> arrays::Board::*member,
                         const arrays::Boards& before, const arrays::Boards& after) {
  ChangedQuantity quantity{name, key, 0, 0, {}};
  for (std::size_t i = 0; i < before.boards.size(); ++i) {
    const auto& a = before.boards[i].*member;
    const auto& b = after.boards[i].*member;
    if (a.IsKnown() && b.IsKnown()) {
      ++quantity.compared;
      if (a.value != b.value) {
        quantity.changed.push_back({Written(before.boards[i].place), Shown(a.value), Shown(b.value)});
      }
    } else if (a.IsKnown() || b.IsKnown()) {
      ++quantity.knownInOneOnly;
    }
  }
  return quantity;
}

constexpr const char* kNotRecorded = "not recorded";

std::string StartOf(brio::dbi::RunHistory& history) {
  constexpr const char* kNoStart = "2010-01-01 00:00:00";  // what a run shows whose start was never recorded
  const std::string start = history.TStartAsString();
  return start == kNoStart ? kNotRecorded : start + " UTC";
}

std::string StopOf(brio::dbi::RunHistory& history) {
  const std::string stop = history.TStopAsString();
  return stop.empty() ? kNotRecorded : stop + " UTC";
}

std::string MaskOf(const brio::dbi::RunHistory& history) {
  const auto stored = LoadStoredMask(history.GetRunNumber(), history.GetDetectorName());
  return stored.outcome.ok ? history.DiBlockMaskToString(stored.mask) : "not known: " + stored.outcome.reason;
}

std::string POTOf(const brio::dbi::RunHistory& history) {
  const auto stored = LoadStoredPOT(history.GetRunNumber(), history.GetDetectorName());
  return stored.outcome.ok ? Shortest(stored.pot) : "not known: " + stored.outcome.reason;
}

std::string QualityOf(brio::dbi::RunHistory& history) {
  std::vector<brio::dbi::DQSubrunInfo> records;
  const auto loaded = Attempt([&] {
    records = history.GetDQSubrunInfo();
    return true;
  });
  if (!loaded.IsClean()) { return "not known: " + loaded.reason; }
  if (records.empty()) { return "no records"; }
  const auto flagged =
      std::count_if(records.begin(), records.end(), [](const auto& record) { return record.flag != 0; });
  double rate = 0;
  for (const auto& record : records) {
    rate += static_cast<double>(record.miprate) / static_cast<double>(records.size());
  }
  return std::to_string(records.size()) + " subruns, " + std::to_string(flagged) +
         " flagged, mean MIP rate " + Fixed(rate, 2);
}

}  // namespace

void LoadForComparison(ComparedRun& run) {
  auto& history = run.history;
  const brio::dbi::LoadScope oneSnapshot;
  run.parts = LoadParts(history, Depth::Settings);
  if (!run.parts.configuration.ok) { return; }
  run.boards = arrays::MakeBoards(history, run.parts);
  run.channels = arrays::MakeChannels(history, run.parts);
  const auto add = [&run](const char* name, const std::string& value) {
    run.facts.push_back({name, value, {}});
  };
  add("kind", history.IsMC() ? "simulated" : "real");
  add("started", StartOf(history));
  add("stopped", StopOf(history));
  add("type", history.GetRunType().empty() ? kNotRecorded : history.GetRunType());
  // These two are what a run record holds when nothing was recorded.
  add("partition", history.GetPartition() == -1 ? kNotRecorded : std::to_string(history.GetPartition()));
  add("configuration", history.GetConfigId() == 0 ? kNotRecorded : std::to_string(history.GetConfigId()));
  add("active channels", std::to_string(history.NActiveChannels()));
  add("subruns", std::to_string(history.NSubruns()));
  add("good diblocks", MaskOf(history));
  add("POT", POTOf(history));
  add("data quality", QualityOf(history));
}

RunDifference Compare(const ComparedRun& before, const ComparedRun& after) {
  RunDifference difference;
  for (std::size_t i = 0; i < before.facts.size(); ++i) {
    const auto& a = before.facts[i];
    const auto& b = after.facts[i];
    if (a.before != b.before) { difference.facts.push_back({a.name, a.before, b.before}); }
  }
  difference.dcms = Compared(DCMsOf(before.history), DCMsOf(after.history));
  difference.eventBuilders = Compared(EventBuildersOf(before.history), EventBuildersOf(after.history));
  CompareBoards(before.boards, after.boards, difference);
  if (before.history.IsMC() || after.history.IsMC()) {
    difference.notCompared = "a simulated run has no DAQ configuration, no settings and no real hardware";
    return difference;
  }
  CompareThresholds(before.channels, after.channels, difference);
  using arrays::Board;
  const auto& a = before.boards;
  const auto& b = after.boards;
  difference.quantities = {Quantity("FEB serials", "feb_serials", &Board::feb, a, b),
                           Quantity("APD serials", "apd_serials", &Board::apd, a, b),
                           Quantity("measured gains", "measured_gains", &Board::measuredGain, a, b),
                           Quantity("voltages", "voltages", &Board::voltage, a, b),
                           Quantity("temperatures", "temperatures", &Board::temperature, a, b)};
  return difference;
}

}  // namespace brio::tools
