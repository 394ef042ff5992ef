#pragma once

#include <optional>
#include <string>
#include <vector>

#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// The numbers of a detector's runs that a snapshot says something of, in ascending order, for a statement
/// over many runs that it was never asked. Nothing where a server answers, where the snapshot has the answer
/// itself, and where it cannot be read, which whoever asks it is told.
BRIO_EXPORT_PRIVATE std::optional<std::vector<int>> RunsInstead(const std::string& detector,
                                                                const Statement& statement);

}  // namespace brio::dbi::snapshot
