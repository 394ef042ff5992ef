#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/maps/BoardMap.h"
#include "tools/maps/MapLayout.h"
#include "tools/report/FactSources.h"
#include "tools/report/Unusual.h"
#include "tools/shared/Options.h"
#include "tools/verbs/RunDifference.h"
#include "tools/verbs/RunScreen.h"

namespace brio::tools {

/// Everything that a page shows of a run.
struct RunReport {
  std::string detector;
  int run = 0;
  bool isSimulated = false;
  ScreenedRun screened;
  std::shared_ptr<ComparedRun> loaded;  ///< the run itself, with its boards
  std::vector<BoardMap> maps;  ///< of the quantities that can be known, those to be shown first first
  std::vector<UnusualKind> unusual;
  /// The run before that it is compared with; nothing without one.
  std::optional<int> before;
  std::string whyNotCompared;  ///< why it is not, or not in full; empty when it is
  std::optional<RunDifference> difference;
  std::vector<UnusualKind> changes;
  std::vector<FactSource> sources;
  /// Why something of it could not be read; empty when all could.
  std::string reason;

  const arrays::Boards& Boards() const { return loaded->boards; }
  /// The stored good-diblock mask.
  std::optional<int> GoodDiBlocks() const;
  /// What the run is worth, in a line.
  std::string Verdict() const;
};

/// Makes reports of runs of a detector, one after the other; each is compared with the run before it in the
/// runs table, which is not loaded again when it was the last to be reported on.
class RunReports {
public:
  explicit RunReports(const Options& options) : options_(options) {}

  /// \return nothing, with the reason in `why`, when there is no such run or it cannot be loaded at all
  std::optional<RunReport> Make(int run, std::string& why);

private:
  std::shared_ptr<ComparedRun> Load(int run) const;
  void CompareWithRunBefore(RunReport& report);

  const Options& options_;
  std::shared_ptr<ComparedRun> last_;
};

}  // namespace brio::tools
