#pragma once

#include <string>
#include <vector>

#include "tools/shared/Loading.h"

namespace brio::tools {

/// The good-diblock mask of a run, whether or not the run record at hand uses it.
struct StoredMask {
  Outcome outcome;
  int mask = 0;
};

/// The mask that the data-quality group stored for a run. Not ok, with the reason, when there is none, and
/// for the near detector and simulated runs, which have none.
StoredMask LoadStoredMask(int run, const std::string& detector);

/// Numbers of the far detector's diblocks that a mask calls good.
std::vector<int> DiBlocksOf(int mask);

}  // namespace brio::tools
