#include "database/Notices.h"

#include <utility>

#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

constexpr long kShown = 10;

}  // namespace

void Notices::ListenTo(PGconn* connection) { PQsetNoticeReceiver(connection, Receive, this); }

void Notices::EndStatement() {
  const long count = std::exchange(count_, 0);
  if (count > kShown) { LogInfo("BrioDatabase") << "server says " << count - kShown << " more messages"; }
}

void Notices::Receive(void* self, const PGresult* notice) {
  if (++static_cast<Notices*>(self)->count_ > kShown) { return; }
  try {
    LogInfo("BrioDatabase") << "server says: " << PQresultErrorMessage(notice);
  } catch (...) {  // NOLINT(bugprone-empty-catch): libpq knows no exceptions
  }
}

}  // namespace brio::dbi
