#include <algorithm>

#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotPath.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/verbs/SnapshotActions.h"
#include "tools/verbs/SnapshotWords.h"

namespace brio::tools {
namespace {

using dbi::snapshot::RunContents;
using dbi::snapshot::SnapshotFile;
using dbi::snapshot::SnapshotSummary;

std::string Kilobytes(std::int64_t bytes) { return Fixed(static_cast<double>(bytes) / 1000.0, 1) + " kB"; }

/// "db.example.org/runs", each of a run's databases once.
std::string SourcesOf(const RunContents& run) {
  std::vector<std::string> names;
  for (const auto& [kind, source] : run.sources) {
    const std::string name = source.host + '/' + source.database;
    if (std::find(names.begin(), names.end(), name) == names.end()) { names.push_back(name); }
  }
  std::string list;
  for (const auto& name : names) {
    list += (list.empty() ? "" : ", ") + name;
  }
  return list;
}

std::string TextOf(const std::string& path, const SnapshotSummary& summary,
                   const std::vector<RunContents>& runs) {
  std::int64_t own = 0;
  for (const auto& run : runs) {
    own += run.ownBytes;
  }
  std::string text =
      path + "\n  format          " + std::to_string(summary.version) + ", by brio " + summary.library +
      "\n  written         " + summary.made + " UTC\n  size            " + Kilobytes(summary.fileBytes) +
      "; " + std::to_string(summary.blocks) + " blocks of " + Kilobytes(summary.storedBytes) + ", " +
      Kilobytes(summary.rawBytes) + " uncompressed" + "\n  shared by runs  " +
      Kilobytes(std::max<std::int64_t>(summary.storedBytes - own, 0)) + "\n  answers         " +
      std::to_string(summary.answers) +
      (summary.answersOfNoRun > 0 ? ", " + std::to_string(summary.answersOfNoRun) + " of no run" : "") + '\n';
  if (runs.empty()) { return text + "  no runs\n"; }
  TextTable table({"detector", "run", "saved", "taken (UTC)", "by brio", "size", "own", "from"});
  for (const auto& run : runs) {
    table.Add({run.detector, std::to_string(run.run), WordOf(run.state), run.taken, run.library,
               Kilobytes(run.bytes), Kilobytes(run.ownBytes), SourcesOf(run)});
  }
  return text + table.Text();
}

Json JsonOf(const RunContents& run) {
  Json object{{"detector", run.detector}, {"run", run.run},           {"saved", WordOf(run.state)},
              {"taken", run.taken},       {"library", run.library},   {"answers", run.answers},
              {"bytes", run.bytes},       {"own_bytes", run.ownBytes}};
  object["sources"] = Json::object();
  for (const auto& [kind, source] : run.sources) {
    object["sources"][dbi::snapshot::NameOf(kind)] = {{"host", source.host}, {"database", source.database}};
  }
  return object;
}

Json JsonOf(const std::string& path, const SnapshotSummary& summary, const std::vector<RunContents>& runs) {
  Json object{{"file", path},
              {"format", summary.version},
              {"library", summary.library},
              {"written", summary.made},
              {"file_bytes", summary.fileBytes},
              {"blocks", summary.blocks},
              {"stored_bytes", summary.storedBytes},
              {"uncompressed_bytes", summary.rawBytes},
              {"answers", summary.answers},
              {"answers_of_no_run", summary.answersOfNoRun},
              {"runs", Json::array()}};
  for (const auto& run : runs) {
    object["runs"].push_back(JsonOf(run));
  }
  return object;
}

}  // namespace

const char* WordOf(dbi::snapshot::RunState state) {
  switch (state) {
    case dbi::snapshot::RunState::Whole: return "whole";
    case dbi::snapshot::RunState::Missing: return "missing";
    case dbi::snapshot::RunState::Part: break;
  }
  return "part";
}

std::string PathOf(const std::string& file) {
  const auto name = dbi::snapshot::SnapshotName(file);
  return name ? dbi::snapshot::SnapshotPath(*name) : file;
}

ExitStatus TellSnapshot(const Options& options, const SnapshotRequest& request) {
  const auto file = SnapshotFile::Open(PathOf(request.words.front()));
  const auto summary = file->Summary();
  const auto runs = file->Runs();
  if (options.json) {
    console::Answer() << JsonText(JsonOf(file->Path(), summary, runs)) << '\n';
  } else {
    console::Answer() << TextOf(file->Path(), summary, runs);
  }
  return kAnswered;
}

}  // namespace brio::tools
