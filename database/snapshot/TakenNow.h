#pragma once

#include <string>

#include "database/snapshot/SavedRun.h"

namespace brio::dbi::snapshot {

/// A run that is taken at this moment by this library, from no source yet.
SavedRun TakenNow(const std::string& detector, int run, RunState state);

/// What a snapshot says of a database: where a Unix socket stands is nobody's business.
RunSource SourceOf(DatabaseKind kind, SessionSource source);

}  // namespace brio::dbi::snapshot
