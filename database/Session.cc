#include "database/Session.h"

#include <algorithm>
#include <string>

#include "database/Connect.h"
#include "database/ConnectionString.h"
#include "database/DatabaseTime.h"
#include "database/LoadScopeSessions.h"
#include "database/PostgreSQLSession.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

/// The one place that knows what kinds of source there are.
/// \param reason  why there is none, when a further try in the same load would only meet it again
std::shared_ptr<Session> OpenSession(const std::string& connectionString, int retries, std::string& reason) {
  const auto limits = TimeLimits::FromEnvironment();
  const DatabaseTime time(limits.load);
  if (time.IsUsedUp()) {
    LogError("BrioDatabase") << "no connection is made: " << time.Complaint();
    return nullptr;
  }
  ConnectionHandle connection = Connect(connectionString, retries, time.Deadline(), &reason);
  return connection ? std::make_shared<PostgreSQLSession>(std::move(connection), limits) : nullptr;
}

}  // namespace

Answer Session::Ask(const Statement& statement) {
  ResultHandle result = Execute(statement);
  const bool wasSent = result != nullptr;
  if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) { return {wasSent, std::nullopt}; }
  return {wasSent, Rows(std::move(result))};
}

std::shared_ptr<Session> AcquireSession(const std::string& detector, DatabaseKind kind, int retries) {
  const auto connectionString = ExpandConnectionString(detector, kind);
  if (!connectionString) { return nullptr; }
  std::string reason;
  if (!loadscope::IsActive()) { return OpenSession(*connectionString, retries, reason); }
  if (auto shared = loadscope::Find(*connectionString)) { return shared; }
  if (const auto failure = loadscope::Failure(*connectionString); !failure.empty()) {
    LogError("BrioDatabase") << failure;
    return nullptr;
  }
  auto session = OpenSession(*connectionString, std::max(retries, loadscope::LeastRetries()), reason);
  if (session) {
    loadscope::Share(*connectionString, session);
  } else {
    loadscope::NoteFailure(*connectionString, reason);
  }
  return session;
}

}  // namespace brio::dbi
