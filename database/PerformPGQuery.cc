#include "database/PerformPGQuery.h"

#include <utility>

#include "database/Result.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

bool GiveUp(const char* reason, const std::string& query, Table& table) {
  LogError("RunHistory") << reason << query;
  table.CloseConnection();
  return false;
}

/// Runs a query by `execute`, which tells whether it was sent and, in its argument, whether it returned rows.
/// \return false when it failed in any way
template <class Execute>
bool Perform(const std::string& query, Table& table, Execute execute) {
  if (!table.GetConnection(0)) {
    LogError("RunHistory") << "Failed to connect to hardware database! "
                           << "Failed to load hardware info.";
    return false;
  }
  LogInfo("RunHistory") << "about to execute query\n" << query;
  bool hasRows = false;
  if (!execute(hasRows)) { return GiveUp("SQL error, failed query: ", query, table); }
  return hasRows || GiveUp("Query failed: ", query, table);
}

bool IsRows(const PGresult* result) { return PQresultStatus(result) == PGRES_TUPLES_OK; }

void ReportRows(int nRows) { LogInfo("RunHistory") << "query returned " << nRows << " rows"; }

}  // namespace

PGresult* PerformPGQuery(const std::string& query, Table& table, int columns) {
  ResultHandle rows;
  const bool succeeded = Perform(query, table, [&](bool& hasRows) {
    PGresult* result = nullptr;
    const bool wasSent = table.ExecuteSQL(query, result, columns);
    rows.reset(result);
    hasRows = IsRows(result);
    return wasSent;
  });
  if (!succeeded) { return nullptr; }
  ReportRows(PQntuples(rows.get()));
  return rows.release();
}

bool PerformPGQuery(const std::string& query, Table& table, Rows& rows, int columns) {
  std::optional<Rows> answer;
  const bool succeeded = Perform(query, table, [&](bool& hasRows) {
    const bool wasSent = table.ExecuteSQL(query, answer, columns);
    hasRows = answer.has_value();
    return wasSent;
  });
  rows = succeeded ? std::move(*answer) : Rows();
  if (succeeded) { ReportRows(rows.Count()); }
  return succeeded;
}

std::optional<int> PerformPGQuery(const std::string& query, Table& table, const RowConsumer& take,
                                  int columns) {
  const bool succeeded = Perform(query, table, [&](bool& hasRows) {
    PGresult* end = nullptr;
    const bool wasSent = table.ExecuteSQL(query, take, end, columns);
    hasRows = IsRows(end);
    PQclear(end);
    return wasSent;
  });
  if (!succeeded) { return std::nullopt; }
  const auto nRows = static_cast<int>(table.RowsGiven());
  ReportRows(nRows);
  return nRows;
}

std::optional<int> PerformPGQuery(const std::string& query, Table& table, RowDigest& digest, int columns) {
  long nRows = 0;
  const bool succeeded = Perform(query, table, [&](bool& hasRows) {
    PGresult* end = nullptr;
    const bool wasSent = table.ExecuteSQL(query, digest, nRows, end, columns);
    hasRows = IsRows(end);
    PQclear(end);
    return wasSent;
  });
  if (!succeeded) { return std::nullopt; }
  ReportRows(static_cast<int>(nRows));
  return static_cast<int>(nRows);
}

#ifdef BRIO_HAS_AUTO_PTR
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
PGresult* PerformPGQuery(const std::string& query, const std::auto_ptr<Table>& table) {
  if (table.get() == nullptr) {
    throw cet::exception("BrioDatabase") << "PerformPGQuery was called without a table";
  }
  return PerformPGQuery(query, *table);
}
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
#endif

}  // namespace brio::dbi
