#pragma once

#include <string>

#include "arrays/Runs.h"
#include "tools/shared/Loading.h"

namespace brio::tools {

/// The protons on target that are stored for a run, whether or not the run itself can be loaded. Not ok, with
/// the reason, when none are: also where NULL is stored, for which RunHistory::GetTotalPOT gives 0.
struct StoredPOT {
  Outcome outcome;
  float pot = 0;
};

/// From a run's line that was asked for with them. \param complaint  of the database, if they could not be
/// read
StoredPOT POTOf(const arrays::RunLine& line, const std::string& complaint);

/// Asks for one run's.
StoredPOT LoadStoredPOT(int run, const std::string& detector);

}  // namespace brio::tools
