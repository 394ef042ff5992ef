#include "tools/shared/Loading.h"

#include "framework/exception.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Progress.h"

namespace brio::tools {

Outcome Attempt(const std::function<bool()>& load) {
  const auto complaints = console::Complaints();
  Outcome outcome;
  std::string thrown;
  try {
    outcome.ok = load();
  } catch (const cet::exception& error) { thrown = error.message(); } catch (const std::exception& error) {
    thrown = error.what();
  }
  // The first complaint is nearest to the cause: what comes later is only what follows from it.
  outcome.reason = OneLine(console::ComplaintSince(complaints, true));
  outcome.databaseComplained = !outcome.reason.empty();
  if (outcome.ok) { return outcome; }
  if (outcome.reason.empty()) { outcome.reason = OneLine(thrown); }
  if (outcome.reason.empty()) { outcome.reason = OneLine(console::ComplaintSince(complaints)); }
  if (outcome.reason.empty()) { outcome.reason = "it could not be loaded"; }
  return outcome;
}

LoadedParts LoadParts(brio::dbi::RunHistory& history, Depth depth) {
  const Progress progress("loading " + NameOf(history));
  history.SetAbortIfIncomplete(true);
  return arrays::LoadRun(history, depth, Attempt);
}

std::string NameOf(const brio::dbi::RunHistory& history) {
  return "run " + std::to_string(history.GetRunNumber()) + " of " + history.GetDetectorName();
}

void SayUnavailable(const brio::dbi::RunHistory& history, const std::string& what) {
  console::Say("runhistory: " + NameOf(history) + ": " + what);
}

}  // namespace brio::tools
