#include "tools/verbs/RunScreen.h"

#include <algorithm>

#include "arrays/Boards.h"
#include "arrays/Records.h"
#include "tools/shared/Mask.h"
#include "tools/shared/POT.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

using brio::dbi::DQSubrunInfo;
using brio::dbi::RunHistory;

// What a run record shows whose start was never recorded.
constexpr const char* kNoStart = "2010-01-01 00:00:00";
constexpr const char* kNotRecorded = "not recorded";

void AddTimes(RunHistory& history, RunScreen& screen) {
  const std::string start = history.TStartAsString();
  const std::string stop = history.TStopAsString();
  const bool started = start != kNoStart;
  if (started) {
    screen.Add("started", "start", InZone(start), start + " UTC");
  } else {
    screen.AddUnknown("started", "start", kNotRecorded);
  }
  if (stop.empty()) {
    screen.AddUnknown("stopped", "stop", kNotRecorded);
  } else {
    screen.Add("stopped", "stop", InZone(stop), stop + " UTC");
  }
  if (!started || stop.empty()) { return; }
  const auto seconds = history.TStop() - history.TStart();
  if (!IsTime(start) || !IsTime(stop)) {
    screen.AddUnknown("duration", "duration",
                      std::string("the ") + (IsTime(start) ? "stop" : "start") + " cannot be read as a time");
  } else if (seconds < 0) {
    screen.AddUnknown("duration", "duration", "the stop is before the start");
  } else {
    screen.Add("duration", "duration", seconds, Duration(seconds));
  }
}

void AddTopology(RunHistory& history, const std::string& picture, RunScreen& screen) {
  std::vector<int> numbers;
  int live = 0;
  for (const auto& diblock : history.GetDiBlocks()) {
    numbers.push_back(diblock.number);
    live += static_cast<int>(std::count_if(diblock.dcms.begin(), diblock.dcms.end(),
                                           [](const RunHistory::DCM& dcm) { return dcm.isActive; }));
  }
  screen.Add("diblocks", "diblocks", numbers, picture + "  " + Ranges(numbers));
  screen.Add("DCMs", "dcms", live, std::to_string(live));
  const auto builders = history.GetBNEVBs().size();
  screen.Add("event builders", "event_builders", builders, std::to_string(builders));
}

void AddRun(RunHistory& history, RunScreen& screen) {
  const auto number = [&](const char* label, const char* key, long long value) {
    screen.Add(label, key, value, std::to_string(value));
  };
  AddTimes(history, screen);
  if (history.IsMC()) {
    screen.Add("type", "type", "simulated", "simulated");
  } else {
    if (history.GetRunType().empty()) {
      screen.AddUnknown("type", "type", kNotRecorded);
    } else {
      screen.Add("type", "type", history.GetRunType(), history.GetRunType());
    }
    // These two are what a run record holds when nothing was recorded.
    if (history.GetPartition() == -1) {
      screen.AddUnknown("partition", "partition", kNotRecorded);
    } else {
      number("partition", "partition", history.GetPartition());
    }
    if (history.GetConfigId() == 0) {
      screen.AddUnknown("configuration", "configuration", kNotRecorded);
    } else {
      number("configuration", "configuration", history.GetConfigId());
    }
    number("active channels", "active_channels", history.NActiveChannels());
  }
  number("subruns", "subruns", history.NSubruns());
  unsigned int mask = 0;
  for (const auto& diblock : history.GetDiBlocks()) {
    if (diblock.number >= 1 && diblock.number <= 14) { mask |= 1U << (diblock.number - 1U); }
  }
  AddTopology(history, history.DiBlockMaskToString(static_cast<int>(mask)), screen);
}

/// Boards by the places that the detector has for them, as maps and differences count them.
struct BoardCounts {
  int places = 0;  ///< of DCMs that took part
  int installed = 0;
  int enabled = 0;           ///< by the DAQ configuration, which counts ports without a place too
  int enabledInstalled = 0;  ///< of those that are installed
};

BoardCounts CountBoards(RunHistory& history, const LoadedParts& parts) {
  BoardCounts counts;
  for (const auto& board : arrays::MakeBoards(history, parts).boards) {
    if (board.presence != arrays::Status::Known) { continue; }
    ++counts.places;
    if (!board.installed.IsKnown() || !board.installed.value) { continue; }
    ++counts.installed;
    if (board.enabled.IsKnown() && board.enabled.value) { ++counts.enabledInstalled; }
  }
  counts.enabled = history.NEnabledFEBs();
  return counts;
}

void AddBoards(RunHistory& history, const LoadedParts& parts, RunScreen& screen) {
  const BoardCounts counts = CountBoards(history, parts);
  const bool hasHardware = history.IsMC() || IsHardwareRecorded(history.GetDetectorId());
  if (parts.hardware.ok && !hasHardware) {
    screen.AddUnknown("installed", "boards_installed", "no hardware is recorded for this detector");
  } else if (parts.hardware.ok) {
    screen.Add("installed", "boards_installed", counts.installed,
               std::to_string(counts.installed) + " boards, on " + std::to_string(counts.places) +
                   " places of the DCMs in the run");
  } else {
    screen.AddUnknown("installed", "boards_installed", parts.hardware.reason);
  }
  if (parts.hardware.ok && hasHardware) { screen.AddNumber("board_places", counts.places); }
  if (history.IsMC()) {
    screen.AddUnknown("enabled", "boards_enabled", "a simulated run has no DAQ configuration");
  } else if (parts.configuration.ok) {
    screen.Add(
        "enabled", "boards_enabled", counts.enabled,
        std::to_string(counts.enabled) + " ports by the DAQ configuration" +
            (hasHardware ? ", " + std::to_string(counts.enabledInstalled) + " with an installed board" : ""));
    if (hasHardware) { screen.AddNumber("boards_enabled_installed", counts.enabledInstalled); }
  } else {
    screen.AddUnknown("enabled", "boards_enabled", parts.configuration.reason);
  }
}

void AddQuality(const std::vector<DQSubrunInfo>& records, RunScreen& screen) {
  double rate = 0;
  std::size_t flagged = 0;
  std::set<int> diblocks;
  for (const auto& record : records) {
    rate += static_cast<double>(record.miprate) / static_cast<double>(records.size());
    flagged += record.flag != 0 ? 1 : 0;
    diblocks.insert(record.ngooddb);
  }
  const auto good = Ranges(std::vector<int>(diblocks.begin(), diblocks.end()));
  screen.Add("data quality", "data_quality",
             {{"version", records.front().version},
              {"subruns", records.size()},
              {"flagged", flagged},
              {"mean_mip_rate", ShortestValue(static_cast<float>(rate))},
              {"good_diblocks", std::vector<int>(diblocks.begin(), diblocks.end())}},
             Counted(records.size(), "subrun") + ", " + std::to_string(flagged) + " flagged, " + good +
                 " good diblocks, mean MIP rate " + Fixed(rate, 2) + " (version " +
                 std::to_string(records.front().version) + ")");
}

/// \return false when a database complained
bool AddExposure(RunHistory& history, ScreenedRun& run) {
  RunScreen& screen = run.screen;
  auto& records = run.quality;
  const auto stored = LoadStoredMask(history.GetRunNumber(), history.GetDetectorName());
  if (stored.outcome.ok) {
    screen.Add("good diblocks", "good_diblock_mask", stored.mask,
               history.DiBlockMaskToString(stored.mask) + "  " + Ranges(DiBlocksOf(stored.mask)));
  } else {
    screen.AddUnknown("good diblocks", "good_diblock_mask", stored.outcome.reason);
  }
  const auto pot = LoadStoredPOT(history.GetRunNumber(), history.GetDetectorName());
  if (pot.outcome.ok) {
    screen.Add("POT", "pot", ShortestValue(pot.pot), Shortest(pot.pot));
  } else {
    screen.AddUnknown("POT", "pot", pot.outcome.reason);
  }
  const auto quality = Attempt([&] {
    records = history.GetDQSubrunInfo();
    return true;
  });
  if (quality.IsClean() && !records.empty()) {
    AddQuality(records, screen);
  } else {
    screen.AddUnknown("data quality", "data_quality", quality.IsClean() ? "no records" : quality.reason);
  }
  return !stored.outcome.databaseComplained && !pot.outcome.databaseComplained && !quality.databaseComplained;
}

Json JsonOf(const std::vector<SubrunTimes>& times) {
  Json list = Json::array();
  for (const auto& subrun : times) {
    Json object{{"subrun", subrun.number}, {"start", nullptr}, {"stop", nullptr}, {"duration", nullptr}};
    if (!subrun.start.empty()) { object["start"] = arrays::WithZone(subrun.start); }
    if (!subrun.stop.empty()) { object["stop"] = arrays::WithZone(subrun.stop); }
    if (const auto seconds = DurationOf(subrun)) { object["duration"] = *seconds; }
    list.push_back(std::move(object));
  }
  return list;
}

/// How many subruns have a duration, and how long these were.
std::string SummaryOf(const std::vector<SubrunTimes>& times) {
  std::vector<long> durations;
  for (const auto& subrun : times) {
    if (const auto seconds = DurationOf(subrun)) { durations.push_back(*seconds); }
  }
  const std::string summary = "of " + Counted(times.size(), "subrun");
  if (durations.empty()) { return summary + ", no durations"; }
  const auto [shortest, longest] = std::minmax_element(durations.begin(), durations.end());
  const std::string how =
      durations.size() == times.size() ? "" : std::to_string(durations.size()) + " of them ";
  if (*shortest == *longest) { return summary + ", " + how + Duration(*shortest) + " each"; }
  return summary + ", " + how + Duration(*shortest) + " to " + Duration(*longest);
}

/// What a person or the DAQ wrote down of a run. \return false when a database complained
bool AddNotes(const RunNotes& notes, RunScreen& screen) {
  const auto add = [&](const char* label, const char* key, const auto& value, const auto& show) {
    if (!notes.run.ok) {
      screen.AddUnknown(label, key, notes.run.reason);
    } else if (!value) {
      screen.AddUnknown(label, key, kNotRecorded);
    } else {
      screen.Add(label, key, *value, show(*value));
    }
  };
  const auto itself = [](const std::string& text) { return Visible(text); };
  add("events", "events", notes.events, [](long long count) { return std::to_string(count); });
  add("shifter", "shifter", notes.shifter, itself);
  add("begin comment", "begin_comment", notes.beginComment, itself);
  add("end comment", "end_comment", notes.endComment, itself);
  if (!notes.subruns.ok) {
    screen.AddUnknown("subrun times", "subrun_times", notes.subruns.reason);
  } else if (notes.times.empty()) {
    screen.AddUnknown("subrun times", "subrun_times", kNotRecorded);
  } else {
    screen.Add("subrun times", "subrun_times", JsonOf(notes.times), SummaryOf(notes.times));
  }
  return notes.run.ok && notes.subruns.ok;
}

}  // namespace

void RunScreen::Add(const std::string& label, const char* key, const Json& value, const std::string& shown) {
  lines_.push_back({label, shown, true});
  object_[key] = value;
}

void RunScreen::AddUnknown(const std::string& label, const char* key, const std::string& reason) {
  const bool isNew = reasons_.insert(reason).second;
  Add(label, key, nullptr,
      reason == kNotRecorded ? reason
      : isNew                ? "not known: " + reason
                             : "not known, as above");
  lines_.back().isKnown = false;
  object_["not_known"][key] = reason;
}

ScreenedRun ScreenOf(RunHistory& history, const LoadedParts& parts) {
  ScreenedRun run;
  if (parts.run.ok) {
    AddRun(history, run.screen);
    AddBoards(history, parts, run.screen);
  } else {
    run.screen.AddUnknown("run", "run_record", parts.run.reason);
  }
  run.couldRead = AddExposure(history, run);
  if (!history.IsMC()) {
    run.notes = LoadRunNotes(history.GetRunNumber(), history.GetDetectorName());
    run.couldRead = AddNotes(run.notes, run.screen) && run.couldRead;
  }
  return run;
}

}  // namespace brio::tools
