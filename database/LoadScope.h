#pragma once

#include <optional>

#include "framework/Export.h"

namespace brio::dbi {

/// Marks one load on the calling thread. Tables used while a scope is alive share one connection for each
/// database and read it in one read-only, repeatable-read transaction; when the outermost scope ends,
/// normally or by exception, every transaction is committed and every connection closed. Scopes nest. What
/// one load spends in connecting and in statements, its pauses and its own work apart, is limited by
/// BRIO_LOAD_TIMEOUT (docs/operators.md); once that is used up, what it still asks fails at once.
class BRIO_EXPORT LoadScope {
public:
  /// Takes the outer scope's word on logging times; without one none are logged.
  LoadScope();
  /// \param timeQueries  whether the scope's statements that no Table sends log their wall time, as a Table
  ///                     does (SetTimeQueries)
  /// \param timeParsing  the same of taking rows apart
  /// \param run  whose facts are loaded, for a source that keeps runs apart; else the outer scope's
  LoadScope(bool timeQueries, bool timeParsing, std::optional<int> run = std::nullopt);
  /// The same with the outer scope's word on logging times.
  explicit LoadScope(int run);
  ~LoadScope();
  LoadScope(const LoadScope&) = delete;
  LoadScope& operator=(const LoadScope&) = delete;

  /// Ends the thread's transactions and closes its shared connections before the load goes on, for a load
  /// that is about to wait; what is asked afterwards is read afresh.
  static void LeaveConnections();

  /// True when, since the thread's outermost scope began or left its connections, a statement failed for a
  /// reason that another try may not meet: a serialization failure or a deadlock, or a connection that was
  /// made and then lost (terminated, cut, its server crashed). False for time limits, the server's or ours,
  /// which would only be waited for again, for connections that could not be made, and outside all scopes.
  static bool WasInterrupted();
  /// True while the thread has exactly one scope.
  static bool IsOutermost();

private:
  bool timedQueriesBefore_;
  bool timedParsingBefore_;
  std::optional<int> runBefore_;
};

}  // namespace brio::dbi
