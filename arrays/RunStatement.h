#pragma once

#include <string>

#include "arrays/Runs.h"
#include "database/Session.h"

namespace brio::arrays {

/// The columns of the statement for a list of runs. What is not asked for is NULL.
enum RunColumn {
  kRun,
  kStart,
  kStop,
  kType,
  kPartition,
  kConfiguration,
  kSubruns,
  kHasPOT,  ///< NULL for a run without a row of protons on target
  kPOT,
  kDCMs,      ///< how many rows of DCMs the run has; NULL for a run without resources
  kDCMNames,  ///< one a line
  kMask,
  kRunColumns
};

/// The statement that lists runs in ascending order of their numbers. Values are parameters, and the names of
/// columns those of the table's definition. \throws as ListRuns
brio::dbi::Statement RunStatement(const std::string& detector, const RunSelection& selection);

}  // namespace brio::arrays
