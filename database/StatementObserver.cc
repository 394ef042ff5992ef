#include "database/StatementObserver.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "database/ResultStatus.h"

namespace brio::dbi {
namespace {

std::atomic<bool> observed{false};
std::mutex mutex;
StatementObserver current;

}  // namespace

void SetStatementObserver(StatementObserver observer) {
  const std::lock_guard<std::mutex> lock(mutex);
  current = std::move(observer);
  observed = static_cast<bool>(current);
}

StatementWatch::StatementWatch(const PGconn* connection) : isWatched_(observed) {
  if (!isWatched_) { return; }
  const char* name = PQdb(connection);
  database_ = name != nullptr ? name : "";
  start_ = std::chrono::steady_clock::now();
}

StatementWatch::StatementWatch(const std::string& database) : isWatched_(observed) {
  if (!isWatched_) { return; }
  database_ = database;
  start_ = std::chrono::steady_clock::now();
}

void StatementWatch::End(const Statement& statement, const PGresult* result, const GivenRows& given) const {
  End(statement, !IsGood(result), {given.count + PQntuples(result), given.taken});
}

void StatementWatch::End(const Statement& statement, bool hasFailed, const GivenRows& given) const {
  if (!isWatched_) { return; }
  StatementObserver observer;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    observer = current;
  }
  if (!observer) { return; }
  observer({statement, database_, given.count, hasFailed,
            std::chrono::steady_clock::now() - start_ - given.taken});
}

}  // namespace brio::dbi
