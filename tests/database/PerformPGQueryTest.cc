#include "database/PerformPGQuery.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "framework/exception.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class PerformQuery : public test::OwnDatabase {
protected:
  PerformQuery() {
    table_.SetTableType(Table::kHardware);
    table_.SetDetector("Birch");
  }

  ResultHandle Perform(const std::string& query) { return ResultHandle(PerformPGQuery(query, table_)); }
  /// Whether the table has a connection: without one a statement cannot be sent.
  bool IsConnected() {
    PGresult* result = nullptr;
    const bool sent = table_.ExecuteSQL("SELECT 1", result);
    PQclear(result);
    return sent;
  }

  Table table_;
};

TEST_F(PerformQuery, GivesTheRowsAndLeavesTheConnectionOpen) {
  const CapturedMessages messages("info");
  const auto result = Perform("SELECT id, note FROM facts ORDER BY id");
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(PQresultStatus(result.get()), PGRES_TUPLES_OK);
  ASSERT_EQ(PQntuples(result.get()), 2);
  EXPECT_STREQ(PQgetvalue(result.get(), 1, 1), "two");
  EXPECT_THAT(
      messages.Texts(Severity::Info, "RunHistory"),
      ElementsAre("about to execute query\nSELECT id, note FROM facts ORDER BY id", "query returned 2 rows"));
  EXPECT_EQ(messages.All().size(), 2U);
  EXPECT_TRUE(IsConnected());
}

TEST_F(PerformQuery, ZeroRowsAreASuccess) {
  const CapturedMessages messages("info");
  const auto result = Perform("SELECT note FROM facts WHERE id = 99");
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(PQntuples(result.get()), 0);
  EXPECT_THAT(
      messages.Texts(Severity::Info, "RunHistory"),
      ElementsAre("about to execute query\nSELECT note FROM facts WHERE id = 99", "query returned 0 rows"));
  EXPECT_TRUE(IsConnected());
}

TEST_F(PerformQuery, LogsNothingOfASuccessWhenInfoIsOff) {
  test::CapturedOutput output;
  const CapturedMessages messages("warning");
  EXPECT_NE(Perform("SELECT 1"), nullptr);
  EXPECT_THAT(messages.All(), IsEmpty());
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "");
}

TEST_F(PerformQuery, WithoutConnectionSaysSoAndGivesNull) {
  const test::EnvironmentVariable away("BRIO_DATABASE", "host=" + folder_.Path());
  const CapturedMessages messages("info");
  const long before = ConnectionStatistics::Now().connectionAttempts;
  EXPECT_EQ(Perform("SELECT 1"), nullptr);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts - before, 1);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"),
              ElementsAre("Failed to connect to hardware database! Failed to load hardware info."));
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"), IsEmpty());
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").size(), 1U);
}

struct Refused {
  const char* query;
  const char* reason;  ///< what the database library says; empty when it has nothing to say
};

class RefusedQuery : public PerformQuery, public testing::WithParamInterface<Refused> {};

TEST_P(RefusedQuery, IsReportedAndClosesTheConnection) {
  ConnectAs("postgres");
  const CapturedMessages messages("info");
  EXPECT_EQ(Perform(GetParam().query), nullptr);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"),
              ElementsAre(std::string("Query failed: ") + GetParam().query));
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"),
              ElementsAre(std::string("about to execute query\n") + GetParam().query));
  const auto reasons = messages.Texts(Severity::Error, "BrioDatabase");
  if (*GetParam().reason == '\0') {
    EXPECT_THAT(reasons, IsEmpty());
  } else {
    EXPECT_THAT(reasons, ElementsAre(HasSubstr(GetParam().reason)));
  }
  EXPECT_FALSE(IsConnected());
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  EXPECT_NE(Perform("SELECT 1"), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    PerformQuery, RefusedQuery,
    testing::Values(
        Refused{"UPDATE facts SET note = 'changed'", ""}, Refused{"", ""}, Refused{"-- nothing", ""},
        Refused{"CREATE TABLE made (id integer)", ""}, Refused{"LISTEN news", ""},
        Refused{"SELECT * FROM nothing", "relation \"nothing\" does not exist"},
        Refused{"SELEKT 1", "syntax error"}, Refused{"SELECT 1/0", "division by zero"},
        Refused{"SELECT 1/(3 - g) FROM generate_series(1, 5) g", "division by zero"},
        Refused{"SELECT $1::text", "bind message supplies 0 parameters"},
        Refused{"COPY facts TO STDOUT", "a COPY statement cannot be run here: COPY facts TO STDOUT"},
        Refused{"COPY facts FROM STDIN", "a COPY statement cannot be run here: COPY facts FROM STDIN"},
        Refused{"SELECT 1; DROP TABLE facts", "cannot insert multiple commands"},
        Refused{"SELECT 1; SELECT 2", "cannot insert multiple commands"}));

/// The same by row: how many there were, and what the rows said.
class PerformQueryByRow : public PerformQuery {
protected:
  std::optional<int> PerformByRow(const std::string& query) {
    return PerformPGQuery(query, table_, [this](const RowView& row) { taken_.emplace_back(row.Text(0)); });
  }

  std::vector<std::string> taken_;
};

TEST_F(PerformQueryByRow, GivesEachRowOnceInOrder) {
  const CapturedMessages messages("info");
  EXPECT_EQ(PerformByRow("SELECT note FROM facts ORDER BY id"), 2);
  EXPECT_THAT(taken_, ElementsAre("one", "two"));
  EXPECT_THAT(
      messages.Texts(Severity::Info, "RunHistory"),
      ElementsAre("about to execute query\nSELECT note FROM facts ORDER BY id", "query returned 2 rows"));
  EXPECT_EQ(messages.All().size(), 2U);
  EXPECT_TRUE(IsConnected());
}

TEST_F(PerformQueryByRow, ZeroRowsAreASuccess) {
  EXPECT_EQ(PerformByRow("SELECT note FROM facts WHERE id = 99"), 0);
  EXPECT_THAT(taken_, IsEmpty());
}

TEST_F(PerformQueryByRow, AFailureAfterSomeRowsIsAFailure) {
  const CapturedMessages messages("info");
  const std::string query = "SELECT g / (3 - g) FROM generate_series(1, 5) g";
  EXPECT_EQ(PerformByRow(query), std::nullopt);
  EXPECT_THAT(taken_, ElementsAre("0", "2"));
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"), ElementsAre("Query failed: " + query));
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(HasSubstr("division by zero")));
  EXPECT_FALSE(IsConnected());
}

TEST_F(PerformQueryByRow, WithoutConnectionSaysSo) {
  const test::EnvironmentVariable away("BRIO_DATABASE", "host=" + folder_.Path());
  const CapturedMessages messages("info");
  EXPECT_EQ(PerformByRow("SELECT 1"), std::nullopt);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"),
              ElementsAre("Failed to connect to hardware database! Failed to load hardware info."));
}

TEST_F(PerformQueryByRow, AThrowingConsumerClosesTheConnection) {
  const auto refuse = [](const RowView&) { throw std::runtime_error("enough"); };
  EXPECT_THROW(PerformPGQuery("SELECT g FROM generate_series(1, 100000) g", table_, refuse),
               std::runtime_error);
  EXPECT_FALSE(IsConnected());
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  EXPECT_EQ(PerformByRow("SELECT 1"), 1);
}

TEST_F(PerformQueryByRow, ALoadGoesOnAfterIt) {
  const LoadScope scope;
  EXPECT_EQ(PerformByRow("SELECT g FROM generate_series(1, 100000) g"), 100000);
  EXPECT_EQ(PerformByRow("SELECT g / (3 - g) FROM generate_series(1, 5) g"), std::nullopt);
  EXPECT_EQ(PerformByRow("SELECT note FROM facts"), 2);
}

TEST_F(PerformQuery, ASecondStatementBehindASemicolonIsNotRun) {
  ConnectAs("postgres");
  const CapturedMessages messages;
  const test::RecordedSteps steps;
  EXPECT_EQ(Perform("SELECT 1; DELETE FROM facts"), nullptr);
  EXPECT_EQ(steps.Statements().size(), 1U);
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM facts"), "2");
}

TEST_F(PerformQuery, ASemicolonAtTheEndIsNoSecondStatement) { EXPECT_NE(Perform("SELECT 1;"), nullptr); }

TEST_F(PerformQuery, AConnectionLostOnTheWayIsAFailedQuery) {
  const auto process = Perform("SELECT pg_backend_pid()");
  ASSERT_NE(process, nullptr);
  test::server::Query(
      "postgres", std::string("SELECT pg_terminate_backend(") + PQgetvalue(process.get(), 0, 0) + ", 5000)");
  const CapturedMessages messages;
  EXPECT_EQ(Perform("SELECT 1"), nullptr);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"), ElementsAre("Query failed: SELECT 1"));
  EXPECT_NE(Perform("SELECT 1"), nullptr);
}

TEST_F(PerformQuery, AStatementThatCannotBeSentIsAnSQLError) {
  const CapturedMessages messages("info");
  const LoadScope scope;
  // The connection goes between the moment it was found open and the moment the statement is sent.
  std::vector<std::string> errors;
  messagelogger::SetSink([&](Severity severity, const std::string& category, const std::string& text) {
    if (text == "about to execute query\nSELECT 1") { LoadScope::LeaveConnections(); }
    if (severity == Severity::Error) { errors.push_back(category + ": " + text); }
  });
  EXPECT_EQ(Perform("SELECT 1"), nullptr);
  EXPECT_THAT(errors, ElementsAre("RunHistory: SQL error, failed query: SELECT 1"));
  EXPECT_FALSE(IsConnected());
}

TEST_F(PerformQuery, TwoQueriesOfOneTableUseOneConnection) {
  const auto first = Perform("SELECT pg_backend_pid()");
  const auto second = Perform("SELECT pg_backend_pid()");
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_STREQ(PQgetvalue(first.get(), 0, 0), PQgetvalue(second.get(), 0, 0));
}

TEST_F(PerformQuery, ResultsOutliveTheirTable) {
  auto table = BareTable();
  const ResultHandle result(PerformPGQuery("SELECT note FROM facts WHERE id = 1", *table));
  table.reset();
  ASSERT_NE(result, nullptr);
  EXPECT_STREQ(PQgetvalue(result.get(), 0, 0), "one");
}

#ifdef BRIO_HAS_AUTO_PTR
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
TEST_F(PerformQuery, TakesATableInThePointerOfOlderCode) {
  const std::auto_ptr<Table> table(new Table);
  table->SetDetector("Birch");
  table->SetTableType(2);
  const ResultHandle result(PerformPGQuery("SELECT note FROM facts WHERE id = 2", table));
  ASSERT_NE(result, nullptr);
  EXPECT_STREQ(PQgetvalue(result.get(), 0, 0), "two");
  EXPECT_NE(table.get(), nullptr);
}

TEST_F(PerformQuery, RefusesAPointerWithoutATable) {
  const std::auto_ptr<Table> none;
  try {
    PerformPGQuery("SELECT 1", none);
    FAIL() << "nothing was thrown";
  } catch (const cet::exception& error) {
    EXPECT_STREQ(error.what(), "BrioDatabase: PerformPGQuery was called without a table");
  }
}
#pragma GCC diagnostic pop
#endif

TEST_F(PerformQuery, TimesOfQueriesAreLoggedWhenAsked) {
  table_.SetTimeQueries(true);
  const CapturedMessages messages("info");
  EXPECT_NE(Perform("SELECT 1"), nullptr);
  EXPECT_THAT(messages.Texts(Severity::Info, "BrioDatabase"),
              ElementsAre(testing::MatchesRegex("query took [0-9.e-]+ ms")));
}

}  // namespace
}  // namespace brio::dbi
