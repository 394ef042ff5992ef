#include <algorithm>
#include <optional>
#include <stdexcept>

#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/RunRange.h"
#include "tools/shared/TerminalText.h"
#include "tools/verbs/DatabaseCheck.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

/// What the check found of all a detector's databases, and of loading a run from them.
struct Report {
  std::vector<DatabaseCheck> databases;
  std::optional<int> run;
  std::string whyNoRun;
  std::vector<LoadStep> steps;

  bool IsComplete() const {
    return std::all_of(databases.begin(), databases.end(),
                       [](const DatabaseCheck& check) { return check.IsComplete(); });
  }
  bool CanLoad() const {
    return run &&
           std::all_of(steps.begin(), steps.end(), [](const LoadStep& step) { return step.outcome.ok; });
  }
  /// Why not all is well; empty when it is.
  std::string Complaint() const {
    if (!run) { return whyNoRun; }
    if (!steps.empty() && steps.front().isMissing) {
      return "there is no run " + std::to_string(*run) +
             ", which tells nothing of other runs; without --run the last one is tried";
    }
    if (!CanLoad()) { return "run " + std::to_string(*run) + " cannot be loaded from these databases"; }
    return IsComplete() ? "" : "not all that the library reads is there and can be read";
  }
};

std::string Milliseconds(double milliseconds) { return Fixed(milliseconds, 1) + " ms"; }

std::string Listed(const char* label, const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) {
    text += std::string("    ") + label + ' ' + Visible(name) + '\n';
  }
  return text;
}

std::string TextOf(const DatabaseCheck& check) {
  std::string name = "  " + check.name;
  name.resize(16, ' ');
  if (!check.connection.ok) { return name + "no answer: " + Visible(check.connection.reason) + '\n'; }
  const auto count = [](int all, std::size_t missing) {
    return std::to_string(all - static_cast<int>(missing)) + " of " + std::to_string(all);
  };
  return name + "PostgreSQL " + Visible(check.version) + (check.isStandby ? ", standby" : "") +
         (check.isReadOnly ? ", read-only" : ", not read-only") + ", database " + Visible(check.database) +
         " as " + Visible(check.user) + ", connected in " + Milliseconds(check.connectMilliseconds) + '\n' +
         "                " + count(check.tables, check.missingTables.size()) + " tables" +
         (check.indexes == 0
              ? ""
              : ", " + count(check.indexes, check.missingIndexes.size()) + " recommended indexes") +
         ", looked up in " + Milliseconds(check.lookMilliseconds) + '\n' +
         Listed("missing table", check.missingTables) + Listed("missing column", check.missingColumns) +
         Listed("not readable:", check.unreadable) + Listed("wrong type:", check.wrongTypes) +
         Listed("missing index", check.missingIndexes) +
         (check.positionSchema.empty()
              ? ""
              : "    note: hardware_position is the one of schema " + Visible(check.positionSchema) + '\n') +
         Listed("warning:", check.warnings);
}

std::string TextOf(const Report& report, const std::string& detector) {
  std::string text = "Databases of " + detector + '\n';
  for (const auto& check : report.databases) {
    text += TextOf(check);
  }
  if (!report.run) { return text + "No run to load: " + Visible(report.whyNoRun) + '\n'; }
  text += "Loading run " + std::to_string(*report.run) + '\n';
  for (const auto& step : report.steps) {
    std::string line = std::string("  ") + step.name;
    line.resize(16, ' ');
    text += line +
            (step.outcome.ok ? "loaded in " + Milliseconds(step.milliseconds)
                             : "failed: " + Visible(step.outcome.reason)) +
            '\n';
  }
  return text;
}

Json JsonOf(const DatabaseCheck& check) {
  Json object{{"name", check.name}, {"connected", check.connection.ok}};
  if (!check.connection.ok) {
    object["reason"] = check.connection.reason;
    return object;
  }
  object.update(
      {{"version", check.version},
       {"database", check.database},
       {"user", check.user},
       {"read_only", check.isReadOnly},
       {"standby", check.isStandby},
       {"missing_tables", check.missingTables},
       {"missing_columns", check.missingColumns},
       {"not_readable", check.unreadable},
       {"wrong_types", check.wrongTypes},
       {"missing_indexes", check.missingIndexes},
       {"hardware_position_schema", check.positionSchema.empty() ? Json() : Json(check.positionSchema)},
       {"warnings", check.warnings},
       {"connect_ms", check.connectMilliseconds},
       {"look_up_ms", check.lookMilliseconds}});
  return object;
}

Json JsonOf(const Report& report, const std::string& detector) {
  Json object{{"detector", detector},
              {"can_load", report.CanLoad()},
              {"complete", report.IsComplete()},
              {"databases", Json::array()}};
  for (const auto& check : report.databases) {
    object["databases"].push_back(JsonOf(check));
  }
  object["run"] = report.run ? Json(*report.run) : Json();
  if (!report.run) { object["reason"] = report.whyNoRun; }
  object["steps"] = Json::array();
  for (const auto& step : report.steps) {
    Json entry{{"name", step.name}, {"loaded", step.outcome.ok}, {"ms", step.milliseconds}};
    if (!step.outcome.ok) { entry["reason"] = step.outcome.reason; }
    object["steps"].push_back(std::move(entry));
  }
  return object;
}

ExitStatus Check(const Options& options, bool isRunGiven) {
  Report report;
  for (const auto& expected : ExpectedDatabases(options.detector)) {
    report.databases.push_back(CheckDatabase(options.detector, expected, options.retries));
  }
  try {
    report.run = isRunGiven ? options.run : LastRun(options.detector);
  } catch (const std::runtime_error& error) { report.whyNoRun = error.what(); }
  if (report.run) {
    RunHistory history(*report.run, options.detector);
    ApplyTo(history, options);
    report.steps = TryLoading(history);
  }
  if (options.json) {
    console::Answer() << JsonText(JsonOf(report, options.detector)) << '\n';
  } else {
    console::Answer() << TextOf(report, options.detector);
  }
  const std::string complaint = report.Complaint();
  if (complaint.empty()) { return kAnswered; }
  console::Say("runhistory: " + options.detector + ": " + complaint);
  return kUnavailable;
}

}  // namespace

Action PrepareCheck(CLI::App& command, const Options& options) {
  RequireDetector(command);
  auto* run = command.get_option("--run");
  run->check(CheckSingleRun);
  run->description("The run to try; the last one unless given");
  TakeRunAsArgument(command);
  return [run, &options] { return Check(options, run->count() > 0); };
}

}  // namespace brio::tools
