#include <cstdlib>

#include "RunHistory/ProgressOutput.h"
#include "database/ConnectionString.h"
#include "database/snapshot/SnapshotFile.h"
#include "snapshot/Comparison.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Progress.h"
#include "tools/shared/Quiet.h"
#include "tools/verbs/SnapshotActions.h"
#include "tools/verbs/SnapshotWords.h"

namespace brio::tools {
namespace {

using dbi::snapshot::SnapshotFile;

struct Verdict {
  std::vector<std::string> damages;
  Json runs = Json::array();
  std::string text;
  bool isSame = true;
};

std::string Listed(const std::vector<std::string>& facts) {
  std::string list;
  for (const auto& fact : facts) {
    list += (list.empty() ? "" : ", ") + fact;
  }
  return list;
}

void Compare(const Options& options, SnapshotFile& file, Verdict& verdict) {
  Quiet quiet(options.verbose);
  for (const auto& run : file.Runs()) {
    const std::string name = "run " + std::to_string(run.run) + " of " + run.detector;
    const Progress progress("comparing " + name);
    auto change = snapshot::ChangesOf(run, file);
    const std::string complaint = quiet.TakeComplaint();
    Json entry{{"detector", run.detector}, {"run", run.run}};
    if (change.failure) {
      const std::string reason = *change.failure + (complaint.empty() ? "" : " (" + complaint + ")");
      console::Say("runhistory: " + name + " cannot be compared: " + reason);
      entry["reason"] = reason;
      verdict.isSame = false;
    } else {
      entry["changed"] = change.facts;
      verdict.isSame = verdict.isSame && change.facts.empty();
      verdict.text +=
          name + ": " + (change.facts.empty() ? "as saved" : "changed: " + Listed(change.facts)) + '\n';
    }
    verdict.runs.push_back(std::move(entry));
  }
}

}  // namespace

ExitStatus VerifySnapshot(const Options& options, const SnapshotRequest& request) {
  const auto file = SnapshotFile::Open(PathOf(request.words.front()));
  Verdict verdict;
  {
    const Progress progress("verifying " + file->Path());
    verdict.damages = file->VerifyAll();
  }
  const bool isCompared = !request.against.empty() && verdict.damages.empty();
  if (isCompared) {
    setenv(dbi::kDatabaseVariable, request.against.c_str(), 1);
    Compare(options, *file, verdict);
  }
  if (options.json) {
    Json object{{"file", file->Path()}, {"damages", verdict.damages}};
    if (isCompared) { object["runs"] = std::move(verdict.runs); }
    console::Answer() << JsonText(object) << '\n';
  } else if (verdict.damages.empty()) {
    console::Answer() << file->Path() << ": whole\n" << verdict.text;
  }
  for (const auto& damage : verdict.damages) {
    console::Say("runhistory: " + file->Path() + ": " + damage);
  }
  return verdict.damages.empty() && verdict.isSame ? kAnswered : kUnavailable;
}

}  // namespace brio::tools
