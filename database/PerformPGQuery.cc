#include "database/PerformPGQuery.h"

#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

PGresult* GiveUp(const char* reason, const std::string& query, PGresult* result, Table& table) {
  LogError("RunHistory") << reason << query;
  PQclear(result);
  table.CloseConnection();
  return nullptr;
}

/// Runs a query by `execute`. \return its result, or null when it failed in any way
template <class Execute>
PGresult* Perform(const std::string& query, Table& table, Execute execute) {
  if (!table.GetConnection(0)) {
    LogError("RunHistory") << "Failed to connect to hardware database! "
                           << "Failed to load hardware info.";
    return nullptr;
  }
  LogInfo("RunHistory") << "about to execute query\n" << query;
  PGresult* result = nullptr;
  if (!execute(result)) { return GiveUp("SQL error, failed query: ", query, result, table); }
  if (PQresultStatus(result) != PGRES_TUPLES_OK) { return GiveUp("Query failed: ", query, result, table); }
  return result;
}

void ReportRows(int nRows) { LogInfo("RunHistory") << "query returned " << nRows << " rows"; }

}  // namespace

PGresult* PerformPGQuery(const std::string& query, Table& table, int columns) {
  PGresult* rows =
      Perform(query, table, [&](PGresult*& result) { return table.ExecuteSQL(query, result, columns); });
  if (rows != nullptr) { ReportRows(PQntuples(rows)); }
  return rows;
}

std::optional<int> PerformPGQuery(const std::string& query, Table& table, const RowConsumer& take,
                                  int columns) {
  int nRows = 0;
  const RowConsumer takeAndCount = [&](const PGresult* rows, int row) {
    ++nRows;
    take(rows, row);
  };
  PGresult* end = Perform(query, table, [&](PGresult*& result) {
    return table.ExecuteSQL(query, takeAndCount, result, columns);
  });
  if (end == nullptr) { return std::nullopt; }
  PQclear(end);
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
