#include <map>
#include <memory>
#include <stdexcept>

#include "arrays/Records.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Loading.h"
#include "tools/shared/RunFilter.h"
#include "tools/verbs/Exposure.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct ExposureOptions {
  arrays::RunSelection selection;
  std::string format = "text";
};

std::string TextOf(const Exposure& exposure, const std::string& missing) {
  TextTable table({"run", "POT", "live time", "good diblocks"});
  std::map<std::string, std::vector<int>> leftOut;
  std::vector<std::string> reasons;  // in the order of the first runs
  for (const auto& run : exposure.runs) {
    if (run.IsCounted()) {
      table.Add({std::to_string(run.run), Shortest(run.pot.value_or(0)), Duration(run.liveTime.value_or(0)),
                 run.goodDiBlocks ? std::to_string(*run.goodDiBlocks) : "-"});
      continue;
    }
    auto& numbers = leftOut[run.reason];
    if (numbers.empty()) { reasons.push_back(run.reason); }
    numbers.push_back(run.run);
  }
  table.Add({"total", Rounded(exposure.pot), Duration(exposure.liveTime),
             exposure.meanGoodDiBlocks ? Fixed(*exposure.meanGoodDiBlocks, 3) : "-"});
  std::string text = table.Text() + "runs counted: " + std::to_string(exposure.counted) + " of " +
                     std::to_string(exposure.runs.size()) + '\n';
  for (const auto& reason : reasons) {
    text += "  left out, " + reason + ": " + Ranges(leftOut[reason]) + '\n';
  }
  if (!missing.empty()) { text += "  not in the runs table: " + missing + '\n'; }
  return text;
}

Json JsonOf(const Exposure& exposure, const std::string& missing, const std::string& detector) {
  Json runs = Json::array();
  for (const auto& run : exposure.runs) {
    runs.push_back({{"run", run.run},
                    {"counted", run.IsCounted()},
                    {"pot", run.pot ? Json(ShortestValue(*run.pot)) : Json()},
                    {"live_time_s", run.liveTime ? Json(*run.liveTime) : Json()},
                    {"good_diblocks", run.goodDiBlocks ? Json(*run.goodDiBlocks) : Json()}});
    if (!run.IsCounted()) { runs.back()["reason"] = run.reason; }
  }
  Json total{{"runs", exposure.counted},
             {"pot", exposure.pot},
             {"live_time_s", exposure.liveTime},
             {"mean_good_diblocks", exposure.meanGoodDiBlocks ? Json(*exposure.meanGoodDiBlocks) : Json()}};
  Json object{{"detector", detector}, {"runs", std::move(runs)}, {"total", std::move(total)}};
  if (!missing.empty()) { object["not_in_the_runs_table"] = missing; }
  return object;
}

template <class T>
void AddOptional(arrays::RecordWriter& writer, const char* name, const std::optional<T>& value) {
  if (value) {
    writer.Add(name, *value);
  } else {
    writer.AddNothing(name);
  }
}

void AddFields(arrays::RecordWriter& writer, const RunExposure& run) {
  writer.Add("run", run.run);
  writer.Add("counted", run.IsCounted());
  AddOptional(writer, "pot", run.pot);
  AddOptional(writer, "live_time_s", run.liveTime);
  AddOptional(writer, "good_diblocks", run.goodDiBlocks);
  writer.Add("reason", run.reason);
}

void WriteCsv(std::ostream& stream, const Exposure& exposure) {
  arrays::RecordWriter writer(stream, arrays::Form::CSV);
  writer.BeginNames();
  AddFields(writer, RunExposure());
  writer.EndNames();
  for (const auto& run : exposure.runs) {
    writer.Begin();
    AddFields(writer, run);
    writer.End();
  }
  writer.Finish();
}

ExitStatus Answer(const ExposureOptions& exposureOptions, const RunRange& range, const Options& options) {
  std::vector<arrays::RunLine> lines;
  std::string misused;
  const auto outcome = Attempt([&] {
    try {
      lines = RunsOf(options.detector, range, exposureOptions.selection);
      return true;
    } catch (const std::invalid_argument& error) { misused = error.what(); }
    return false;
  });
  if (!misused.empty()) {
    console::Say("runhistory: " + misused);
    return kWrongUsage;
  }
  if (!outcome.ok) {
    console::Say("runhistory: the exposure of " + options.detector + " is not known: " + outcome.reason);
    return kUnavailable;
  }
  const Exposure exposure = ExposureOf(lines, options, outcome.reason);
  const std::string missing = HasFilter(exposureOptions.selection) ? "" : MissingFrom(range, lines);
  if (options.json || exposureOptions.format == "json") {
    console::Answer() << JsonText(JsonOf(exposure, missing, options.detector)) << '\n';
  } else if (exposureOptions.format == "csv") {
    WriteCsv(console::Answer(), exposure);
  } else {
    console::Answer() << TextOf(exposure, missing);
  }
  if (!outcome.IsClean()) {
    console::Say("runhistory: the exposure of " + options.detector + " is not complete: " + outcome.reason);
    return kUnavailable;
  }
  if (exposure.counted > 0) { return kAnswered; }
  console::Say("runhistory: there is no run of " + options.detector + " to count");
  return kUnavailable;
}

}  // namespace

Action PrepareExposure(CLI::App& command, const Options& options) {
  RequireDetector(command);
  AllowRanges(command);
  auto exposureOptions = std::make_shared<ExposureOptions>();
  AddRunFilter(command, exposureOptions->selection);
  command.add_option("--format", exposureOptions->format, "The form of the answer; text unless given")
      ->check(CLI::IsMember({"text", "csv", "json"}));
  TakeRunAsArgument(command);
  return [exposureOptions, &command, &options] {
    RunRange range = options.runs;
    if (command.get_option("--run")->count() == 0) { range = {10000, 0, true, true}; }
    exposureOptions->selection.withPOT = true;
    exposureOptions->selection.withMasks =
        briodaq::cnv::DetInfo::GetId(options.detector) != briodaq::cnv::Alder;
    return Answer(*exposureOptions, range, options);
  };
}

}  // namespace brio::tools
