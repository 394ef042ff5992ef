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

}  // namespace

PGresult* PerformPGQuery(const std::string& query, Table& table) {
  if (!table.GetConnection(0)) {
    LogError("RunHistory") << "Failed to connect to hardware database! "
                           << "Failed to load hardware info.";
    return nullptr;
  }
  LogInfo("RunHistory") << "about to execute query\n" << query;
  PGresult* result = nullptr;
  if (!table.ExecuteSQL(query, result)) { return GiveUp("SQL error, failed query: ", query, result, table); }
  if (PQresultStatus(result) != PGRES_TUPLES_OK) { return GiveUp("Query failed: ", query, result, table); }
  LogInfo("RunHistory") << "query returned " << PQntuples(result) << " rows";
  return result;
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
