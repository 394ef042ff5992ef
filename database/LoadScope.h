#pragma once

namespace brio::dbi {

/// Marks one load on the calling thread. Tables used while a scope is alive share one connection for each
/// database and read it in one read-only, repeatable-read transaction; when the outermost scope ends,
/// normally or by exception, every transaction is committed and every connection closed. Scopes nest.
class LoadScope {
public:
  LoadScope();
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
};

}  // namespace brio::dbi
