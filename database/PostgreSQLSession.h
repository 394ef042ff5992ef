#pragma once

#include <chrono>
#include <string>

#include "database/Session.h"

namespace brio::dbi {

/// A session with a PostgreSQL server over one libpq connection.
///
/// Each statement goes in one message of the extended protocol, so that text from a database row can never
/// smuggle in a second one. A server that takes or sends nothing for BRIO_QUERY_TIMEOUT seconds (300 unless
/// set, 0 for no limit) counts as lost. After ReadOneState the first statement, and the first after one that
/// failed, begins a transaction in which everything that a pooler could leak is set for that transaction
/// only.
class PostgreSQLSession final : public Session {
public:
  explicit PostgreSQLSession(ConnectionHandle connection);
  ~PostgreSQLSession() override;

  ResultHandle Execute(const Statement& statement) override { return Run(statement, nullptr); }
  ResultHandle ExecuteByRow(const Statement& statement, const RowConsumer& take) override {
    return Run(statement, &take);
  }
  bool IsUsable() const override;
  void ReadOneState() override { readsOneState_ = true; }
  void Close() noexcept override;

private:
  ResultHandle Run(const Statement& statement, const RowConsumer* take);
  bool Begin();
  bool RunOwn(const std::string& text);
  ResultHandle CollectResult(const Statement* statement = nullptr, const RowConsumer* take = nullptr);
  void GiveRow(const PGresult* row, const RowConsumer& take);
  bool WaitForData();
  ResultHandle Refuse(const PGresult* rows, const Statement& statement);
  ResultHandle Lost(const std::string& reason);
  ResultHandle GiveUp(const std::string& reason);
  void ReportError(const PGresult* result, const std::string& statement) const;

  ConnectionHandle connection_;
  std::chrono::seconds timeout_;
  bool readsOneState_ = false;
};

}  // namespace brio::dbi
