#pragma once

#include <string>
#include <vector>

#include "database/snapshot/SnapshotTables.h"

namespace brio::dbi::snapshot {

/// "runs 13000-13020, 13025 of Birch and run 7 of Alder", or "no runs".
std::string RunRanges(const std::vector<RunRow>& runs);

}  // namespace brio::dbi::snapshot
