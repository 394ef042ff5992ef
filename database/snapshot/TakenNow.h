#pragma once

#include <string>

#include "database/snapshot/SavedRun.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// A run that is taken at this moment by this library, from no source yet.
BRIO_EXPORT_PRIVATE SavedRun TakenNow(const std::string& detector, int run, RunState state);

/// What a snapshot says of a database: where a Unix socket stands is nobody's business.
BRIO_EXPORT_PRIVATE RunSource SourceOf(DatabaseKind kind, SessionSource source);

}  // namespace brio::dbi::snapshot
