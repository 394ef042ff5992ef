#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "database/Result.h"
#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi {

/// A statement that was sent and answered. The references are valid during the call only.
struct AnsweredStatement {
  const Statement& statement;
  const std::string& database;  ///< its name, as the server has it; of a snapshot, the file's name
  long rows = 0;                ///< also those that were given to a consumer one by one
  bool hasFailed = false;
  std::chrono::nanoseconds took{0};  ///< from sending it to the last row, less what a consumer of rows took
};

/// Called behind each statement that was answered, not for the BEGIN and COMMIT around a load. It must not
/// use the session.
using StatementObserver = std::function<void(const AnsweredStatement&)>;

/// Sets the process's observer; an empty function removes it.
BRIO_EXPORT_PRIVATE void SetStatementObserver(StatementObserver observer);

/// Measures one statement, and tells the observer, if there is one.
class StatementWatch {
public:
  /// \param connection  whose database is named; looked at now, since it may be closed later
  explicit StatementWatch(const PGconn* connection);
  explicit StatementWatch(const std::string& database);
  void End(const Statement& statement, const PGresult* result, const GivenRows& given) const;
  /// \param given  all rows of the answer, and the time that is not the statement's
  void End(const Statement& statement, bool hasFailed, const GivenRows& given) const;

private:
  bool isWatched_;
  std::string database_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace brio::dbi
