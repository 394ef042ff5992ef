#include "database/LoadScope.h"

#include <chrono>
#include <map>
#include <utility>

#include "database/LoadScopeSessions.h"
#include "database/Session.h"

namespace brio::dbi {
namespace {

struct ThreadLoad {
  int depth = 0;
  bool wasInterrupted = false;
  bool timesQueries = false;
  bool timesParsing = false;
  std::optional<int> run;
  std::chrono::steady_clock::duration timeSpent{0};
  std::map<std::string, std::shared_ptr<Session>> sessions;
};

thread_local ThreadLoad load;

}  // namespace

LoadScope::LoadScope() : LoadScope(load.timesQueries, load.timesParsing) {}

LoadScope::LoadScope(int run) : LoadScope(load.timesQueries, load.timesParsing, run) {}

LoadScope::LoadScope(bool timeQueries, bool timeParsing, std::optional<int> run)
    : timedQueriesBefore_(std::exchange(load.timesQueries, timeQueries)),
      timedParsingBefore_(std::exchange(load.timesParsing, timeParsing)),
      runBefore_(std::exchange(load.run, run ? run : load.run)) {
  if (++load.depth == 1) { load.timeSpent = {}; }
}

LoadScope::~LoadScope() {
  load.timesQueries = timedQueriesBefore_;
  load.timesParsing = timedParsingBefore_;
  load.run = runBefore_;
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

std::optional<int> Run() { return load.run; }

void NoteInterruption() { load.wasInterrupted = IsActive(); }

std::chrono::steady_clock::duration TimeSpent() { return load.timeSpent; }

void AddTimeSpent(std::chrono::steady_clock::duration time) { load.timeSpent += time; }

bool TimesQueries() { return load.timesQueries; }

bool TimesParsing() { return load.timesParsing; }

}  // namespace loadscope
}  // namespace brio::dbi
