#include <algorithm>
#include <memory>
#include <stdexcept>

#include "arrays/Writers.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Loading.h"
#include "tools/shared/RunFilter.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

using arrays::RunLine;

// Counting takes a row for each DCM and event builder: some tenths of a second for thousands of runs.
constexpr std::size_t kMostCounted = 200;

struct ListOptions {
  arrays::RunSelection selection;
  std::string format = "text";
  bool countAll = false;
};

template <class T, class Show>
std::string Cell(const arrays::Value<T>& value, const Show& show) {
  return value.IsKnown() ? show(value.value) : "-";
}

std::string TextOf(const std::vector<RunLine>& runs) {
  const auto itself = [](const std::string& text) { return text; };
  const auto number = [](long long value) { return std::to_string(value); };
  TextTable table(
      {"run", "start (UTC)", "duration", "type", "partition", "configuration", "diblocks", "POT"});
  for (const auto& line : runs) {
    table.Add({std::to_string(line.run), Cell(line.start, itself), Cell(line.duration, Duration),
               Cell(line.type, itself), Cell(line.partition, number), Cell(line.configuration, number),
               Cell(line.diblocks, number), Cell(line.pot, [](float pot) { return Shortest(pot); })});
  }
  return table.Text();
}

void Show(const std::vector<RunLine>& runs, const ListOptions& listOptions, bool asJson) {
  if (asJson || listOptions.format == "json") {
    arrays::Write(console::Answer(), arrays::Form::JSON, runs);
  } else if (listOptions.format == "jsonl") {
    arrays::Write(console::Answer(), arrays::Form::NDJSON, runs);
  } else if (listOptions.format == "csv") {
    arrays::Write(console::Answer(), arrays::Form::CSV, runs);
  } else if (!runs.empty()) {
    console::Answer() << TextOf(runs);
  }
}

ExitStatus List(const ListOptions& listOptions, const Options& options) {
  std::optional<std::vector<RunLine>> runs;
  std::string misused;
  const Outcome outcome = Attempt([&] {
    try {
      runs = arrays::ListRuns(options.detector, listOptions.selection);
    } catch (const std::invalid_argument& error) { misused = error.what(); }
    return runs.has_value();
  });
  if (!misused.empty()) {
    console::Say("runhistory: " + misused);
    return kWrongUsage;
  }
  if (!runs) {
    console::Say("runhistory: the runs of " + options.detector + " cannot be listed: " + outcome.reason);
    return kUnavailable;
  }
  Show(*runs, listOptions, options.json);
  if (runs->empty()) { console::Say("runhistory: there are no such runs of " + options.detector); }
  if (!listOptions.countAll && runs->size() > kMostCounted) {
    console::Say("runhistory: diblocks are not counted in a list of more than " +
                 std::to_string(kMostCounted) + " runs; --count-diblocks counts them");
  }
  if (outcome.IsClean()) { return kAnswered; }
  console::Say("runhistory: the list of the runs of " + options.detector +
               " is not complete: " + outcome.reason);
  return kUnavailable;
}

}  // namespace

Action PrepareList(CLI::App& command, const Options& options) {
  RequireDetector(command);
  AllowRanges(command);
  auto listOptions = std::make_shared<ListOptions>();
  AddRunFilter(command, listOptions->selection);
  command
      .add_option(
          "--at", listOptions->selection.at,
          "The run that was going on then; one without a stop goes on until the next of its partition")
      ->type_name("TIME");
  command.add_flag("--count-diblocks", listOptions->countAll,
                   "Count diblocks in a list of more than " + std::to_string(kMostCounted) + " runs too");
  command.add_option("--format", listOptions->format, "The form of the answer; text unless given")
      ->check(CLI::IsMember({"text", "csv", "json", "jsonl"}));
  TakeRunAsArgument(command);
  return [listOptions, &command, &options] {
    auto& selection = listOptions->selection;
    SetRuns(command, options, selection);
    selection.withPOT = selection.withResources = true;
    if (!listOptions->countAll) { selection.mostWithResources = kMostCounted; }
    return List(*listOptions, options);
  };
}

}  // namespace brio::tools
