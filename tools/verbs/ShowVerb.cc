#include <algorithm>
#include <memory>
#include <ostream>

#include "database/LoadScope.h"
#include "tools/shared/RunByRun.h"
#include "tools/shared/SentStatements.h"
#include "tools/shared/TerminalText.h"
#include "tools/verbs/RunScreen.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

struct ShowOptions {
  bool subruns = false;
  bool explain = false;
};

std::string TableOf(const std::vector<SubrunTimes>& times) {
  TextTable table({"subrun", "start (UTC)", "stop (UTC)", "duration"});
  const auto cell = [](const std::string& text) { return text.empty() ? "-" : text; };
  for (const auto& subrun : times) {
    const auto seconds = DurationOf(subrun);
    table.Add({std::to_string(subrun.number), cell(subrun.start), cell(subrun.stop),
               seconds ? Duration(*seconds) : "-"});
  }
  return table.Text();
}

std::string AnswerShow(const ShowOptions& showOptions, RunHistory& history, std::ostream& text,
                       Json& object) {
  const brio::dbi::LoadScope oneSnapshot;
  const LoadedParts parts = LoadParts(history, Depth::Configuration);
  if (parts.isMissing) { return parts.run.reason; }
  const ScreenedRun run = ScreenOf(history, parts);
  text << "Run " << history.GetRunNumber() << " of " << history.GetDetectorName() << '\n';
  for (const auto& line : run.screen.Lines()) {
    text << "  " << line.label << std::string(16 - line.label.size(), ' ') << Visible(line.shown) << '\n';
  }
  for (const auto& [key, value] : run.screen.Object().items()) {
    object[key] = value;
  }
  if (showOptions.subruns && !run.notes.times.empty()) { text << TableOf(run.notes.times); }
  const Outcome& deepest = parts.UpTo(Depth::Configuration);
  if (!deepest.ok) { return deepest.reason; }
  return run.couldRead ? "" : "not everything could be read";
}

}  // namespace

Action PrepareShow(CLI::App& command, const Options& options) {
  RequireRuns(command);
  TakeRunAsArgument(command);
  auto showOptions = std::make_shared<ShowOptions>();
  command.add_flag("--subruns", showOptions->subruns, "Also a table of the subruns' times");
  command.add_flag("--explain", showOptions->explain,
                   "Also each statement: its rows, its milliseconds and its database");
  return [showOptions, &options] {
    return AnswerRunByRun(options, [&](RunHistory& history, std::ostream& text, Json& object) {
      if (!showOptions->explain) { return AnswerShow(*showOptions, history, text, object); }
      const StatementLog statements;
      std::string reason = AnswerShow(*showOptions, history, text, object);
      statements.Write(text);
      object["statements"] = statements.AsJson();
      return reason;
    });
  };
}

}  // namespace brio::tools
