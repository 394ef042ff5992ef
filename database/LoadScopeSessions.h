#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace brio::dbi {

class Session;

/// The sessions that the calling thread's load shares, by expanded connection string (and
/// what else tells them apart).
namespace loadscope {

/// True while the thread has a load scope.
bool IsActive();
/// The session that the load already uses, if it is still usable; else null.
std::shared_ptr<Session> Find(const std::string& connectionString);
/// Makes a new session the load's own: from now on it is shared, and closed when the load ends.
void Share(const std::string& connectionString, const std::shared_ptr<Session>& session);
/// Whether loads of the calling thread leave their connections to the next one (KeptConnections), and how
/// often these are tried for at least.
void KeepSessions(bool keep, int retries = 0);
int LeastRetries();
/// Why the load under way has no session with a connection string; empty when it may be tried for.
std::string Failure(const std::string& connectionString);
/// Remembers that until the load ends or leaves its connections, where sessions are kept.
void NoteFailure(const std::string& connectionString, const std::string& reason);
/// The run whose facts the innermost scope that names one loads.
std::optional<int> Run();
/// Remembers for LoadScope::WasInterrupted that a statement failed for a reason that can pass.
void NoteInterruption();
/// What the load has spent at its databases so far.
std::chrono::steady_clock::duration TimeSpent();
void AddTimeSpent(std::chrono::steady_clock::duration time);
/// What the innermost scope says of logging times.
bool TimesQueries();
bool TimesParsing();

}  // namespace loadscope
}  // namespace brio::dbi
