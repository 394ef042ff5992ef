#include "database/LoadScope.h"

#include <chrono>
#include <iterator>
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
  std::map<std::string, std::string> failures;
  bool keepsSessions = false;
  int leastRetries = 0;
};

thread_local ThreadLoad load;

/// Commits, and keeps what can be used again.
void RestSessions() {
  for (auto session = load.sessions.begin(); session != load.sessions.end();) {
    session->second->Rest();
    session = session->second->IsUsable() ? std::next(session) : load.sessions.erase(session);
  }
  load.failures.clear();
  load.wasInterrupted = false;
}

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
  if (--load.depth > 0) { return; }
  if (load.keepsSessions) {
    RestSessions();
  } else {
    LeaveConnections();
  }
}

void LoadScope::LeaveConnections() {
  // A table may still hold a share of a session, so each is closed, not only let go.
  for (auto& [connectionString, session] : std::exchange(load.sessions, {})) {
    session->Close();
  }
  load.failures.clear();
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

void KeepSessions(bool keep, int retries) {
  load.keepsSessions = keep;
  load.leastRetries = retries;
}

int LeastRetries() { return load.leastRetries; }

std::string Failure(const std::string& connectionString) {
  const auto found = load.failures.find(connectionString);
  return found != load.failures.end() ? found->second : std::string();
}

void NoteFailure(const std::string& connectionString, const std::string& reason) {
  if (load.keepsSessions && IsActive()) { load.failures[connectionString] = reason; }
}

std::optional<int> Run() { return load.run; }

void NoteInterruption() { load.wasInterrupted = IsActive(); }

std::chrono::steady_clock::duration TimeSpent() { return load.timeSpent; }

void AddTimeSpent(std::chrono::steady_clock::duration time) { load.timeSpent += time; }

bool TimesQueries() { return load.timesQueries; }

bool TimesParsing() { return load.timesParsing; }

}  // namespace loadscope
}  // namespace brio::dbi
