#include "database/PerformPGQuery.h"

#include "database/Result.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

void GiveUp(const char* reason, const std::string& query, Table& table) {
  LogError("RunHistory") << reason << query;
  table.CloseConnection();
}

/// Runs a query by `execute`. \return its result, or null when it failed in any way
template <class Execute>
ResultHandle Perform(const std::string& query, Table& table, Execute execute) {
  if (!table.GetConnection(0)) {
    LogError("RunHistory") << "Failed to connect to hardware database! "
                           << "Failed to load hardware info.";
    return nullptr;
  }
  LogInfo("RunHistory") << "about to execute query\n" << query;
  PGresult* handedOver = nullptr;
  const bool sent = execute(handedOver);
  ResultHandle result(handedOver);
  if (sent && PQresultStatus(result.get()) == PGRES_TUPLES_OK) { return result; }
  GiveUp(sent ? "Query failed: " : "SQL error, failed query: ", query, table);
  return nullptr;
}

void ReportRows(int nRows) { LogInfo("RunHistory") << "query returned " << nRows << " rows"; }

}  // namespace

PGresult* PerformPGQuery(const std::string& query, Table& table, int columns) {
  ResultHandle rows =
      Perform(query, table, [&](PGresult*& result) { return table.ExecuteSQL(query, result, columns); });
  if (rows) { ReportRows(PQntuples(rows.get())); }
  return rows.release();
}

std::optional<int> PerformPGQuery(const std::string& query, Table& table, const RowConsumer& take,
                                  int columns) {
  int nRows = 0;
  const RowConsumer takeAndCount = [&](const PGresult* rows, int row) {
    ++nRows;
    take(rows, row);
  };
  const ResultHandle end = Perform(query, table, [&](PGresult*& result) {
    return table.ExecuteSQL(query, takeAndCount, result, columns);
  });
  if (!end) { return std::nullopt; }
  ReportRows(nRows);
  return nRows;
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
