#include "database/LoadScope.h"

#include <map>
#include <utility>

#include "database/LoadScopeSessions.h"
#include "database/Session.h"

namespace brio::dbi {
namespace {

struct ThreadLoad {
  int depth = 0;
  bool wasInterrupted = false;
  std::map<std::string, std::shared_ptr<Session>> sessions;
};

thread_local ThreadLoad load;

}  // namespace

LoadScope::LoadScope() { ++load.depth; }

LoadScope::~LoadScope() {
  if (--load.depth == 0) { LeaveConnections(); }
}

void LoadScope::LeaveConnections() {
  // A table may still hold a share of a session, so each is closed, not only let go.
  for (auto& [connectionString, session] : std::exchange(load.sessions, {})) {
    session->Close();
  }
  load.wasInterrupted = false;
}

bool LoadScope::WasInterrupted() { return load.wasInterrupted; }

bool LoadScope::IsOutermost() { return load.depth == 1; }

namespace loadscope {

bool IsActive() { return load.depth > 0; }

std::shared_ptr<Session> Find(const std::string& connectionString) {
  const auto found = load.sessions.find(connectionString);
  return found != load.sessions.end() && found->second->IsUsable() ? found->second : nullptr;
}

void Share(const std::string& connectionString, const std::shared_ptr<Session>& session) {
  session->ReadOneState();
  load.sessions[connectionString] = session;
}

void NoteInterruption() { load.wasInterrupted = IsActive(); }

}  // namespace loadscope
}  // namespace brio::dbi
