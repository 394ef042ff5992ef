#include "database/snapshot/SnapshotVersion.h"

namespace brio::dbi::snapshot {

const char* LibraryVersion() { return BRIO_VERSION; }

}  // namespace brio::dbi::snapshot
