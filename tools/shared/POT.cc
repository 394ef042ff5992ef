#include "tools/shared/POT.h"

#include "tools/shared/RunRange.h"

namespace brio::tools {

StoredPOT POTOf(const arrays::RunLine& line, const std::string& complaint) {
  StoredPOT stored;
  stored.outcome.ok = line.pot.IsKnown();
  stored.pot = line.pot.value;
  if (IsSimulated(line.run)) {
    stored.outcome.reason = "a simulated run has no POT";
  } else if (line.pot.status == arrays::Status::NotRecorded) {
    stored.outcome.reason = "no POT is recorded";
  } else if (!stored.outcome.ok) {
    stored.outcome.reason = complaint.empty() ? "its POT cannot be read" : complaint;
    stored.outcome.databaseComplained = !complaint.empty();
  }
  return stored;
}

StoredPOT LoadStoredPOT(int run, const std::string& detector) {
  arrays::RunSelection selection;
  selection.first = selection.last = run;
  selection.withPOT = true;
  arrays::RunLine line;
  line.run = run;
  if (IsSimulated(run)) { return POTOf(line, {}); }
  bool isThere = false;
  auto outcome = Attempt([&] {
    const auto lines = arrays::ListRuns(detector, selection);
    isThere = lines && !lines->empty();
    if (isThere) { line = lines->front(); }
    return lines.has_value();
  });
  if (isThere) { return POTOf(line, outcome.reason); }
  if (outcome.ok) { outcome.reason = "there is no such run"; }
  outcome.ok = false;
  return {outcome, 0};
}

}  // namespace brio::tools
