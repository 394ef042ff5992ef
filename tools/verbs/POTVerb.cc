#include <ostream>

#include "tools/shared/Loading.h"
#include "tools/shared/RunByRun.h"

namespace brio::tools {
namespace {

bool AnswerPOT(brio::dbi::RunHistory& history, std::ostream& text, Json& object) {
  // A simulated run has none, which only the run itself tells.
  const LoadedParts parts = LoadParts(history, Depth::Run);
  if (!parts.run.ok) {
    SayUnavailable(history, parts.run.reason);
    return false;
  }
  if (history.IsMC()) {
    SayUnavailable(history, "a simulated run has no POT");
    return false;
  }
  const Outcome pot = Attempt([&] { return history.LoadPOT(); });
  if (!pot.ok) {
    SayUnavailable(history, pot.reason);
    return false;
  }
  object["pot"] = ShortestValue(history.GetTotalPOT());
  text << history.GetRunNumber() << "  " << Shortest(history.GetTotalPOT()) << '\n';
  return true;
}

}  // namespace

Action PreparePOT(CLI::App& command, const Options& options) {
  RequireRuns(command);
  return [&options] { return AnswerRunByRun(options, AnswerPOT); };
}

}  // namespace brio::tools
