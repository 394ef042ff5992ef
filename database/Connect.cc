#include "database/Connect.h"

#include <random>
#include <utility>

#include "database/ConnectionAttempt.h"
#include "database/ConnectionCheck.h"
#include "database/ConnectionString.h"
#include "database/Counters.h"
#include "database/RetryPause.h"
#include "database/StandardDescriptors.h"
#include "database/StepObserver.h"
#include "database/Wait.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;

/// Nothing is repeated of what it complains about.
bool CanBeUsed(const std::string& connectionString) {
  if (!IsReadable(connectionString)) {
    LogError("BrioDatabase")
        << "the connection string in " << kDatabaseVariable
        << " cannot be read: it must be a libpq connection string (keyword=value pairs with "
           "known keywords, or a postgresql:// URI)";
    return false;
  }
  if (ShowPassword(EffectiveOptions(connectionString))) {
    LogError("BrioDatabase")
        << "the service file or the environment cannot be used: a password seems to stand in a "
           "host, port, user or database there";
    return false;
  }
  return true;
}

ConnectionAttempt TryOnce(const std::string& connectionString, Clock::time_point deadline) {
  const StandardDescriptorsTaken taken;
  ++Counters::Instance().connectionAttempts;
  NotifyStep(DatabaseStep::Connect, {});
  return TryAllHosts(connectionString, deadline);
}

/// Waits before a further attempt; false when that could not begin in time.
bool PauseBefore(int attempt, Clock::time_point deadline) {
  thread_local std::minstd_rand generator{std::random_device{}()};
  const auto pause = RetryPause(attempt, std::uniform_real_distribution<double>()(generator));
  if (deadline != Clock::time_point::max() && Clock::now() + pause >= deadline) { return false; }
  Pause(pause);
  return true;
}

std::string AdviceAfter(const ConnectionFailure& failure) {
  if (!failure.neverStarted || IsDatabaseSet()) { return {}; }
  return std::string("; ") + kDatabaseVariable +
         " is not set: set it to a connection string, or define that service in your PostgreSQL service file";
}

}  // namespace

ConnectionHandle Connect(const std::string& connectionString, int retries, Clock::time_point deadline,
                         std::string* reason) {
  if (!CanBeUsed(connectionString)) { return nullptr; }
  ConnectionFailure failure;
  failure.reason = "no time is left to connect";
  if (Clock::now() < deadline) {
    for (int attempt = 0; attempt == 0 || attempt <= retries; ++attempt) {
      if (attempt > 0) {
        LogInfo("BrioDatabase") << "trying again to connect, after: " << failure.reason;
        if (!PauseBefore(attempt, deadline)) { break; }
      }
      ConnectionAttempt tried = TryOnce(connectionString, deadline);
      if (tried.connection) {
        ++Counters::Instance().connectionsOpened;
        return std::move(tried.connection);
      }
      failure = std::move(tried.failure);
      if (!failure.canPass) { break; }
    }
  }
  const std::string complaint = failure.reason + AdviceAfter(failure);
  LogError("BrioDatabase") << complaint;
  if (reason != nullptr) { *reason = complaint; }
  return nullptr;
}

}  // namespace brio::dbi
