#include "database/KeptConnections.h"

#include "database/LoadScope.h"
#include "database/LoadScopeSessions.h"

namespace brio::dbi {

KeptConnections::KeptConnections(int retries) { loadscope::KeepSessions(true, retries); }

KeptConnections::~KeptConnections() {
  loadscope::KeepSessions(false);
  LoadScope::LeaveConnections();
}

}  // namespace brio::dbi
