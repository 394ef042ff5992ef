#include "database/LoadScope.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::RecordedSteps;
using testing::ElementsAre;
using testing::StartsWith;

using Step = DatabaseStep;

class InLoadScope : public test::OwnDatabase {
protected:
  static std::string StateCode(const ResultHandle& result) {
    const char* code = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
    return code == nullptr ? "" : code;
  }
};

TEST_F(InLoadScope, TablesOfOneDatabaseShareAConnectionAndATransaction) {
  const RecordedSteps steps;
  {
    const LoadScope scope;
    ASSERT_TRUE(Facts()->Load());
    const auto hardware = BareTable();
    hardware->SetTableType(Table::kHardware);
    EXPECT_EQ(Ask(*hardware, "SELECT 1"), "1");
    EXPECT_EQ(test::ConnectionsTo(scratch_.Name()), 1);
  }
  EXPECT_THAT(steps.Steps(),
              ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Statement, Step::Commit));
}

TEST_F(InLoadScope, DatabasesWhoseConnectionStringsDifferHaveOneConnectionEach) {
  ConnectAs("brio_reader", "fallback_application_name={database}");
  const auto before = ConnectionStatistics::Now();
  const LoadScope scope;
  const auto runs = BareTable();
  const auto hardware = BareTable();
  hardware->SetTableType(Table::kHardware);
  const std::string process = Ask(*runs, "SELECT pg_backend_pid()");
  EXPECT_NE(Ask(*hardware, "SELECT pg_backend_pid()"), process);
  EXPECT_EQ(Ask(*BareTable(), "SELECT pg_backend_pid()"), process);
  EXPECT_EQ(ConnectionStatistics::Now().connectionsOpened - before.connectionsOpened, 2);
  EXPECT_EQ(ConnectionStatistics::Now().transactionsBegun - before.transactionsBegun, 2);
}

TEST_F(InLoadScope, AnInnerScopeEndsNothing) {
  const RecordedSteps steps;
  {
    const LoadScope outer;
    {
      const LoadScope inner;
      ASSERT_TRUE(Facts()->Load());
    }
    EXPECT_EQ(test::ConnectionsTo(scratch_.Name()), 1);
    ASSERT_TRUE(Facts()->Load());
  }
  EXPECT_THAT(steps.Steps(),
              ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Statement, Step::Commit));
}

TEST_F(InLoadScope, GivingAShareUpLeavesTheConnectionToTheOthers) {
  const LoadScope scope;
  const auto first = BareTable();
  const auto second = BareTable();
  const std::string process = Ask(*first, "SELECT pg_backend_pid()");
  EXPECT_EQ(Ask(*second, "SELECT pg_backend_pid()"), process);
  first->CloseConnection();
  EXPECT_EQ(Ask(*second, "SELECT pg_backend_pid()"), process);
  EXPECT_EQ(Ask(*first, "SELECT pg_backend_pid()"), process);
}

TEST_F(InLoadScope, NothingCanBeWritten) {
  ConnectAs("postgres");
  const CapturedMessages messages;
  {
    const LoadScope scope;
    const auto table = BareTable();
    ASSERT_TRUE(table->GetConnection(0));
    EXPECT_EQ(StateCode(Run(*table, "INSERT INTO facts VALUES (3, 'three')")), "25006");
    EXPECT_EQ(StateCode(Run(*table, "DROP TABLE facts")), "25006");
  }
  EXPECT_EQ(messages.All().size(), 2U);
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM facts"), "2");
}

TEST_F(InLoadScope, AStatementThatEndsTheTransactionOpensNoWayToWrite) {
  ConnectAs("postgres");
  const CapturedMessages messages;
  {
    const LoadScope scope;
    const auto table = BareTable();
    EXPECT_EQ(Ask(*table, "SELECT 1"), "1");
    Run(*table, "COMMIT");
    EXPECT_EQ(StateCode(Run(*table, "INSERT INTO facts VALUES (3, 'three')")), "25006");
    EXPECT_EQ(Ask(*table, "SHOW TimeZone"), "UTC");
  }
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM facts"), "2");
}

TEST_F(InLoadScope, EveryLoadSeesTheSameState) {
  const auto table = Facts();
  {
    const LoadScope scope;
    ASSERT_TRUE(table->Load());
    scratch_.Execute("UPDATE facts SET note = 'new'; INSERT INTO facts VALUES (3, 'new')");
    ASSERT_TRUE(table->Load());
    EXPECT_THAT(Notes(*table), ElementsAre("one", "two"));
    const auto other = Facts();
    ASSERT_TRUE(other->Load());
    EXPECT_THAT(Notes(*other), ElementsAre("one", "two"));
  }
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("new", "new", "new"));
}

TEST_F(InLoadScope, TheNextScopeSeesTheNewState) {
  const auto table = Facts();
  {
    const LoadScope scope;
    ASSERT_TRUE(table->Load());
  }
  scratch_.Execute("DELETE FROM facts");
  const LoadScope scope;
  ASSERT_TRUE(table->Load());
  EXPECT_EQ(table->NRow(), 0);
}

TEST_F(InLoadScope, TimesAreUTCAndDatesAreISOWhateverTheServersDefault) {
  const std::string time =
      "SELECT timestamptz '2016-03-01 08:00:00' = timestamptz '2016-03-01 08:00:00+00', "
      "timestamptz '2016-03-01 08:00:00'";
  {
    const LoadScope scope;
    const auto table = BareTable();
    EXPECT_EQ(Ask(*table, "SHOW TimeZone"), "UTC");
    EXPECT_THAT(Ask(*table, "SHOW DateStyle"), StartsWith("ISO"));
    EXPECT_EQ(Ask(*table, time), "t");
    EXPECT_EQ(Ask(*table, "SELECT timestamp '2016-03-01 07:59:59.5'"), "2016-03-01 07:59:59.5");
  }
  const auto table = BareTable();
  EXPECT_EQ(Ask(*table, "SHOW TimeZone"), "America/Chicago");
  EXPECT_EQ(Ask(*table, "SHOW DateStyle"), "SQL, DMY");
  EXPECT_EQ(Ask(*table, time), "f");
  EXPECT_EQ(Ask(*table, "SELECT timestamp '2016-03-01 07:59:59.5'"), "01/03/2016 07:59:59.5");
}

TEST_F(InLoadScope, TheServerKnowsTheTimeLimit) {
  {
    const LoadScope scope;
    EXPECT_EQ(Ask(*BareTable(), "SHOW statement_timeout"), "5min");
  }
  EXPECT_EQ(Ask(*BareTable(), "SHOW statement_timeout"), "0");
  const test::EnvironmentVariable none("BRIO_QUERY_TIMEOUT", "0");
  const LoadScope scope;
  EXPECT_EQ(Ask(*BareTable(), "SHOW statement_timeout"), "0");
}

TEST_F(InLoadScope, OutsideThereIsNoTransaction) {
  const RecordedSteps steps;
  ConnectAs("postgres");
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  EXPECT_EQ(PQresultStatus(Run(*table, "INSERT INTO facts VALUES (3, 'three')").get()), PGRES_COMMAND_OK);
  EXPECT_EQ(Ask(*table, "SHOW transaction_isolation"), "read committed");
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM facts"), "3");
  table->CloseConnection();
  EXPECT_THAT(steps.Steps(), ElementsAre(Step::Connect, Step::Statement, Step::Statement));
}

TEST_F(InLoadScope, AnErrorEndsTheTransactionAndTheNextStatementBeginsANewOne) {
  const RecordedSteps steps;
  const CapturedMessages messages;
  {
    const LoadScope scope;
    const auto table = Facts();
    ASSERT_TRUE(table->Load());
    EXPECT_EQ(StateCode(Run(*table, "SELECT 1/0")), "22012");
    scratch_.Execute("UPDATE facts SET note = 'new'");
    ASSERT_TRUE(table->Load());
    EXPECT_THAT(Notes(*table), ElementsAre("new", "new"));
    EXPECT_EQ(Ask(*table, "SHOW TimeZone"), "UTC");
    EXPECT_EQ(Ask(*table, "SHOW transaction_read_only"), "on");
  }
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("database \"" + scratch_.Name() + "\": ERROR:  division by zero [SQLSTATE 22012]"));
  EXPECT_THAT(steps.Steps(),
              ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Statement, Step::Begin,
                          Step::Statement, Step::Statement, Step::Statement, Step::Commit));
}

}  // namespace
}  // namespace brio::dbi
