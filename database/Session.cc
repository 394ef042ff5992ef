#include "database/Session.h"

#include <algorithm>
#include <string>

#include "database/Connect.h"
#include "database/ConnectionString.h"
#include "database/DatabaseTime.h"
#include "database/LoadScopeSessions.h"
#include "database/PostgreSQLSession.h"
#include "database/RowDigest.h"
#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/Recording.h"
#include "database/snapshot/SnapshotPath.h"
#include "database/snapshot/SnapshotSession.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

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

ResultHandle Session::ExecuteByRow(const Statement& statement, RowDigest& digest) {
  return ExecuteByRow(statement, [&digest](const RowView& row) { digest.Take(row); });
}

namespace {

/// A session that answers from a file; null, with the reason logged, when the file cannot be read.
std::shared_ptr<Session> OpenSnapshot(const std::string& name, const std::string& detector, DatabaseKind kind,
                                      std::string& reason) {
  try {
    return std::make_shared<snapshot::SnapshotSession>(
        snapshot::SnapshotFile::Open(snapshot::SnapshotPath(name)), detector, kind);
  } catch (const cet::exception& error) {
    reason = error.message();
    LogError("BrioDatabase") << reason;
    return nullptr;
  }
}

std::shared_ptr<Session> SharedSession(const std::string& detector, DatabaseKind kind, int retries) {
  const auto connectionString = ExpandConnectionString(detector, kind);
  if (!connectionString) { return nullptr; }
  const auto file = snapshot::SnapshotName(*connectionString);
  std::string reason;
  const auto open = [&](int tries) {
    return file ? OpenSnapshot(*file, detector, kind, reason) : OpenSession(*connectionString, tries, reason);
  };
  if (!loadscope::IsActive()) { return open(retries); }
  // A server's databases may be one; a snapshot knows which of them was asked.
  std::string name = *connectionString;
  if (file) { name += '\n' + detector + '\n' + snapshot::NameOf(kind); }
  if (auto shared = loadscope::Find(name)) { return shared; }
  if (const auto failure = loadscope::Failure(name); !failure.empty()) {
    LogError("BrioDatabase") << failure;
    return nullptr;
  }
  auto session = open(std::max(retries, loadscope::LeastRetries()));
  if (session) {
    loadscope::Share(name, session);
  } else {
    loadscope::NoteFailure(name, reason);
  }
  return session;
}

}  // namespace

std::shared_ptr<Session> AcquireSession(const std::string& detector, DatabaseKind kind, int retries) {
  return recording::Wrap(SharedSession(detector, kind, retries), detector, kind);
}

}  // namespace brio::dbi
