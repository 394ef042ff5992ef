#include <memory>
#include <optional>
#include <stdexcept>

#include "arrays/Fields.h"
#include "arrays/Writers.h"
#include "tools/export/SqliteTable.h"
#include "tools/shared/Console.h"
#include "tools/shared/Loading.h"
#include "tools/shared/OutputFile.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct ExportOptions {
  std::string what;
  std::string form;
  std::string file = "-";
};

/// The form that a file's ending names; nothing for another.
std::optional<std::string> FormOf(const std::string& file) {
  const std::string ending = EndingOf(file);
  for (const auto& [known, form] : {std::pair("csv", "csv"),
                                    {"json", "json"},
                                    {"jsonl", "jsonl"},
                                    {"ndjson", "jsonl"},
                                    {"sqlite", "sqlite"},
                                    {"sqlite3", "sqlite"},
                                    {"db", "sqlite"}}) {
    if (ending == known) { return form; }
  }
  return std::nullopt;
}

/// Writes boards, or channels with what their boards share.
template <class... Records>
void WriteAs(const ExportOptions& exported, std::ostream& stream, const Records&... records) {
  if (exported.form == "sqlite") {
    SqliteTable table(stream, exported.what);
    arrays::WriteRecords(table, records...);
    return;
  }
  const auto form = exported.form == "csv"    ? arrays::Form::CSV
                    : exported.form == "json" ? arrays::Form::JSON
                                              : arrays::Form::NDJSON;
  arrays::Write(stream, form, records...);
}

ExitStatus Export(ExportOptions exported, const Options& options) {
  if (options.json) { exported.form = "json"; }
  if (exported.form.empty() && exported.file == "-") { exported.form = "csv"; }
  if (exported.form.empty()) {
    const auto form = FormOf(exported.file);
    if (!form) {
      console::Say("runhistory: \"" + exported.file +
                   "\" ends in none of .csv, .json, .jsonl and .sqlite; --format names the form");
      return kWrongUsage;
    }
    exported.form = *form;
  }
  OutputFile file(exported.file);
  brio::dbi::RunHistory history(options.run, options.detector);
  ApplyTo(history, options);
  const LoadedParts parts = LoadParts(history, Depth::Settings);
  if (!parts.run.ok) {
    SayUnavailable(history, parts.run.reason);
    return kUnavailable;
  }
  const auto boards = arrays::MakeBoards(history, parts);
  if (exported.what == "boards") {
    WriteAs(exported, file.Stream(), boards);
  } else {
    WriteAs(exported, file.Stream(), arrays::MakeChannels(history, parts), boards);
  }
  file.Keep();
  const Outcome& deepest = parts.UpTo(Depth::Settings);
  if (deepest.IsClean()) { return kAnswered; }
  SayUnavailable(history, deepest.reason);
  return kUnavailable;
}

}  // namespace

Action PrepareExport(CLI::App& command, const Options& options) {
  RequireRun(command);
  auto exported = std::make_shared<ExportOptions>();
  command.add_option("what", exported->what, "Of what there is a record each")
      ->type_name("WHAT")
      ->required()
      ->check(CLI::IsMember({"boards", "channels"}));
  command
      .add_option("-o,--output", exported->file,
                  "Write to this file, in the form that its ending names; - for standard output, as without")
      ->type_name("FILE");
  command.add_option("--format", exported->form, "The form, whatever the file's ending; csv unless given")
      ->check(CLI::IsMember({"csv", "json", "jsonl", "sqlite"}));
  TakeRunAsArgument(command);
  return [exported, &options] { return Export(*exported, options); };
}

}  // namespace brio::tools
