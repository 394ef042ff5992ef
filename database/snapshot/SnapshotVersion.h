#pragma once

namespace brio::dbi::snapshot {

/// The version of this library, which snapshots remember.
const char* LibraryVersion();

}  // namespace brio::dbi::snapshot
