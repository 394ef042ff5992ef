#pragma once

#include <libpq-fe.h>

namespace brio::dbi {

/// Logs what a server says beside its answers, at info severity, category "BrioDatabase": the first ten
/// messages of a statement, and of the others how many they were. None is kept.
class Notices {
public:
  /// From now on receives a connection's messages; must live as long as that.
  void ListenTo(PGconn* connection);
  /// Ends a statement: tells of those not shown.
  void EndStatement();

private:
  static void Receive(void* self, const PGresult* notice);

  long count_ = 0;
};

}  // namespace brio::dbi
