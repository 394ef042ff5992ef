#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "database/Result.h"
#include "database/Table.h"
#include "tests/database/Fixtures.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {

/// How many connections of this library a database has.
inline int ConnectionsTo(const std::string& database) {
  return std::stoi(server::Value("postgres", "SELECT count(*) FROM pg_stat_activity WHERE datname = '" +
                                                 database + "' AND application_name = 'brio-runhistory'"));
}

/// A detector's database of the test's own, to which BRIO_DATABASE points, with one table in it:
/// public.facts(id, note) with rows (1, 'one'), (2, 'two').
class OwnDatabase : public testing::Test {
protected:
  OwnDatabase() {
    scratch_.Execute(
        "CREATE TABLE facts (id integer, note text); INSERT INTO facts VALUES (1, 'one'), (2, 'two');"
        "GRANT SELECT ON facts TO brio_reader");
  }

  /// Connects to the same database in another way.
  void ConnectAs(const std::string& user, const std::string& more = {}) {
    database_.reset();  // an old value put back later would undo the new one
    database_ = std::make_unique<EnvironmentVariable>(
        "BRIO_DATABASE", server::ConnectionString(scratch_.Name(), user) + " " + more);
  }

  /// A table without a definition, ready to connect.
  static std::unique_ptr<dbi::Table> BareTable() {
    auto table = std::make_unique<dbi::Table>();
    table->SetDetector("Birch");
    return table;
  }

  /// The table of facts, ordered by id.
  std::unique_ptr<dbi::Table> Facts() const {
    auto table = std::make_unique<dbi::Table>(factsFile_.c_str());
    table->SetDetector("Birch");
    table->AddOrderColumn("id");
    return table;
  }

  static dbi::ResultHandle Run(dbi::Table& table, const std::string& statement) {
    PGresult* result = nullptr;
    EXPECT_TRUE(table.ExecuteSQL(statement, result)) << statement;
    return dbi::ResultHandle(result);
  }

  /// The first value of a statement run on a table's connection.
  static std::string Ask(dbi::Table& table, const std::string& statement) {
    if (!table.GetConnection(0)) { return "no connection"; }
    const dbi::ResultHandle result = Run(table, statement);
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK || PQntuples(result.get()) == 0) {
      return "no answer";
    }
    return PQgetvalue(result.get(), 0, 0);
  }

  /// The second column of all loaded rows.
  static std::vector<std::string> Notes(const dbi::Table& table) {
    std::vector<std::string> notes;
    for (int i = 0; i < table.NRow(); ++i) {
      std::string note = "NULL";
      table.GetRow(i)->Col(1).Get(note);
      notes.push_back(note);
    }
    return notes;
  }

  ScratchDatabases scratch_;
  TemporaryFolder folder_;
  std::string factsFile_ = folder_.Write("facts.xml",
                                         "<table name='facts'><column name='id' type='integer'/>"
                                         "<column name='note' type='text'/></table>");
  std::unique_ptr<EnvironmentVariable> database_ =
      std::make_unique<EnvironmentVariable>("BRIO_DATABASE", scratch_.Template());
};

}  // namespace brio::test
