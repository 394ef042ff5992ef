#include <ostream>

#include "tools/shared/Console.h"
#include "tools/shared/POT.h"
#include "tools/shared/RunByRun.h"

namespace brio::tools {

Action PreparePOT(CLI::App& command, const Options& options) {
  RequireRuns(command);
  RefuseMasks(command, "the protons on target of a run are those of the whole run, whatever the mask");
  TakeRunAsArgument(command);
  return [&options] {
    arrays::RunSelection selection;
    selection.withPOT = true;
    const auto complaints = console::Complaints();
    return AnswerLineByLine(options, selection,
                            [&](const arrays::RunLine& line, std::ostream& text, Json& object) {
                              const auto stored = POTOf(line, OneLine(console::ComplaintSince(complaints)));
                              if (!stored.outcome.ok) { return stored.outcome.reason; }
                              object["pot"] = ShortestValue(stored.pot);
                              text << line.run << "  " << Shortest(stored.pot) << '\n';
                              return std::string();
                            });
  };
}

}  // namespace brio::tools
