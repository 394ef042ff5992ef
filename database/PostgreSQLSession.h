#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "database/DatabaseTime.h"
#include "database/Notices.h"
#include "database/Session.h"
#include "database/TimeLimits.h"

namespace brio::dbi {

/// A session with a PostgreSQL server over one libpq connection.
///
/// Each statement goes in one message of the extended protocol, so that text from a database row can never
/// smuggle in a second one. A server that takes or sends nothing for a while, or that goes on sending for
/// longer than the load may take, counts as lost (TimeLimits). After ReadOneState the first statement, and
/// the first after one that failed, begins a transaction in which everything that a pooler could leak is set
/// for that transaction only; a statement that reads has such a transaction of its own before that, unless
/// the client began one. An exception that passes through a statement closes the connection.
class PostgreSQLSession final : public Session {
public:
  PostgreSQLSession(ConnectionHandle connection, TimeLimits limits);
  ~PostgreSQLSession() override;

  using Session::ExecuteByRow;
  ResultHandle Execute(const Statement& statement) override { return Run(statement, nullptr); }
  ResultHandle ExecuteByRow(const Statement& statement, const RowConsumer& take) override {
    return Run(statement, &take);
  }
  GivenRows LastGiven() const override { return given_; }
  bool IsUsable() const override;
  void ReadOneState() override { readsOneState_ = true; }
  void Rest() noexcept override;
  SessionSource Source() const override;
  void Close() noexcept override;

private:
  /// How long an answer is waited for.
  struct Patience {
    DatabaseTime& time;
    std::chrono::seconds silence;
  };

  ResultHandle Run(const Statement& statement, const RowConsumer* take);
  ResultHandle RunInTransaction(const Statement& statement, const RowConsumer* take,
                                const Patience& patience);
  ResultHandle Send(const Statement& statement, const RowConsumer* take, const Patience& patience);
  bool Begin(const Patience& patience);
  void Commit();
  bool RunOwn(const std::string& text, const Patience& patience);
  ResultHandle CollectResult(const Patience& patience, const Statement* statement = nullptr,
                             const RowConsumer* take = nullptr);
  void GiveRow(const PGresult* row, const RowConsumer& take, DatabaseTime& time);
  std::optional<std::string> WaitForData(const Patience& patience);
  ResultHandle Refuse(const PGresult* rows, const Statement& statement);
  ResultHandle Lost(const std::string& reason);
  ResultHandle GiveUp(const std::string& reason);
  void ReportError(const PGresult* result, const std::string& statement) const;

  Notices notices_;
  ConnectionHandle connection_;
  TimeLimits limits_;
  GivenRows given_;
  bool readsOneState_ = false;
  bool isGivingRows_ = false;
  bool isToClose_ = false;
};

}  // namespace brio::dbi
