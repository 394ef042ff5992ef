#include <memory>
#include <optional>
#include <utility>

#include "RunHistory/DetInfo.h"
#include "arrays/Runs.h"
#include "snapshot/Saver.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Progress.h"
#include "tools/shared/Quiet.h"
#include "tools/shared/RemovedOnSignal.h"
#include "tools/verbs/RunNotes.h"
#include "tools/verbs/SnapshotActions.h"

namespace brio::tools {
namespace {

using snapshot::Saved;
using snapshot::Saver;

struct Wanted {
  std::string detector;
  int run = 0;
};

/// Appends the runs of a range.
void Add(const std::string& detector, const RunRange& range, std::vector<Wanted>& wanted) {
  const int last = range.isOpen ? LastRun(detector) : range.last;
  for (int run = range.first; run <= last; ++run) {
    wanted.push_back({detector, run});
    if (run == last) { break; }
  }
}

/// "Birch:13000-13020" and the like. False for any other text.
bool Add(const std::string& word, std::vector<Wanted>& wanted) {
  const auto colon = word.find(':');
  const std::string detector = word.substr(0, colon);
  if (colon == std::string::npos || !briodaq::cnv::DetInfo::DetNameOk(detector)) { return false; }
  const auto range = ParseRunRange(word.substr(colon + 1));
  if (range) { Add(detector, *range, wanted); }
  return range.has_value();
}

struct Counts {
  int whole = 0;
  int missing = 0;
  int refused = 0;
};

const char* WordOf(Saved saved) {
  switch (saved) {
    case Saved::Whole: return "whole";
    case Saved::Missing: return "missing";
    case Saved::Refused: break;
  }
  return "refused";
}

/// What the verbs ask about a run beside the library's facts: its line in lists, and what `show` tells.
void AskForVerbs(const std::string& detector, int run) {
  arrays::ListRuns(detector, arrays::AllOf(run));
  LoadRunNotes(run, detector);
}

void Tell(const Options& options, const std::string& output, const Counts& counts, bool isSaved, Json list) {
  if (options.json) {
    const Json object{{"file", isSaved ? Json(output) : Json()}, {"runs", std::move(list)}};
    console::Answer() << JsonText(object) << '\n';
  } else if (isSaved) {
    console::Answer() << output << ": " << counts.whole << (counts.whole == 1 ? " run" : " runs") << " saved"
                      << (counts.missing > 0 ? ", " + std::to_string(counts.missing) + " as missing" : "")
                      << (counts.refused > 0 ? ", " + std::to_string(counts.refused) + " refused" : "")
                      << '\n';
  } else {
    console::Say("runhistory: no run could be saved; " + output + " is not written");
  }
}

}  // namespace

ExitStatus SaveSnapshot(const Options& options, bool isRunGiven, const SnapshotRequest& request) {
  std::vector<Wanted> wanted;
  if (isRunGiven) { Add(options.detector, options.runs, wanted); }
  for (const auto& word : request.words) {
    if (!Add(word, wanted)) {
      console::Say("runhistory: \"" + word + "\" is no detector with runs, such as Birch:13000-13020");
      return kWrongUsage;
    }
  }
  if (wanted.empty()) {
    console::Say("runhistory: there are no such runs");
    return kUnavailable;
  }

  auto wait = std::make_unique<SignalsWait>();  // until somebody knows of the temporary file
  Saver saver(request.output, request.append ? Saver::Old::Append : Saver::Old::Replace);
  const RemovedOnSignal removed(saver.TemporaryPath());
  wait.reset();
  saver.AlsoAsk(AskForVerbs);
  Counts counts;
  Json list = Json::array();
  Quiet quiet(options.verbose);
  std::optional<Progress> progress(std::in_place, "");
  for (const auto& [detector, run] : wanted) {
    const std::string name = "run " + std::to_string(run) + " of " + detector;
    progress->Next("saving " + name, wanted.size());
    const auto result = saver.Save(detector, run);
    const std::string complaint = quiet.TakeComplaint();
    ++(result.saved == Saved::Whole     ? counts.whole
       : result.saved == Saved::Missing ? counts.missing
                                        : counts.refused);
    Json entry{{"detector", detector}, {"run", run}, {"saved", WordOf(result.saved)}};
    if (result.saved == Saved::Refused) {
      const std::string reason = result.reason + (complaint.empty() ? "" : " (" + complaint + ")");
      const std::string told = "runhistory: " + name + " is not saved: " + reason;
      progress->Aside([&] { console::Say(told); });
      entry["reason"] = reason;
    }
    list.push_back(std::move(entry));
  }
  progress.reset();
  // With nothing to put into it a file that is there stays as it is.
  const bool isSaved = counts.whole + counts.missing > 0;
  if (isSaved) { saver.Commit(); }
  Tell(options, request.output, counts, isSaved, std::move(list));
  return counts.refused == 0 ? kAnswered : kUnavailable;
}

}  // namespace brio::tools
