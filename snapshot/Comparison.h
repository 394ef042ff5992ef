#pragma once

#include <optional>
#include <string>
#include <vector>

#include "database/snapshot/SavedRun.h"
#include "database/snapshot/SnapshotFile.h"
#include "framework/Export.h"

namespace brio::snapshot {

/// What has become of a saved run in its databases since.
struct RunChange {
  std::vector<std::string> facts;      ///< that differ: "gains", "protons on target"
  std::optional<std::string> failure;  ///< why it cannot be told
};

/// Asks the databases (BRIO_DATABASE) again for all that was saved of a run, and compares. Rows in another
/// order are the same rows.
BRIO_EXPORT_PRIVATE RunChange ChangesOf(const dbi::snapshot::SavedRun& run,
                                        dbi::snapshot::SnapshotFile& file);

}  // namespace brio::snapshot
