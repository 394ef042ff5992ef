#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::HasSubstr;

class LostConnection : public test::OwnDatabase {
protected:
  /// Ends the server process behind a table's connection; gives its number.
  static std::string Cut(Table& table) {
    const std::string process = Ask(table, "SELECT pg_backend_pid()");
    EXPECT_EQ(test::server::Value("postgres", "SELECT pg_terminate_backend(" + process + ", 5000)"), "t");
    return process;
  }
};

TEST_F(LostConnection, GivesAFatalResultAndOneMessage) {
  const auto table = BareTable();
  Cut(*table);
  const CapturedMessages messages("debug");
  PGresult* result = nullptr;
  EXPECT_TRUE(table->ExecuteSQL("SELECT 1", result));
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(PQresultStatus(result), PGRES_FATAL_ERROR);
  EXPECT_EQ(PQntuples(result), 0);
  PQclear(result);
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("terminating connection due to administrator command")));
}

TEST_F(LostConnection, IsReplacedByTheNextCall) {
  const auto table = BareTable();
  const std::string process = Cut(*table);
  const CapturedMessages messages;
  Run(*table, "SELECT 1");
  EXPECT_NE(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(LostConnection, FailsTheLoadThatFindsItAndNotTheNext) {
  const auto table = Facts();
  Cut(*table);
  const CapturedMessages messages;
  EXPECT_FALSE(table->Load());
  EXPECT_EQ(table->NRow(), 0);
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_TRUE(table->Load());
  EXPECT_EQ(table->NRow(), 2);
}

TEST_F(LostConnection, OfALoadIsNeverSharedAgain) {
  const LoadScope scope;
  const auto table = BareTable();
  const auto other = Facts();
  ASSERT_TRUE(other->Load());
  const std::string process = Cut(*table);
  const CapturedMessages messages("debug");
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT 1").get()), PGRES_FATAL_ERROR);
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_TRUE(other->Load());
  const std::string replaced = Ask(*table, "SELECT pg_backend_pid()");
  EXPECT_NE(replaced, process);
  EXPECT_EQ(Ask(*other, "SELECT pg_backend_pid()"), replaced);
  EXPECT_EQ(Ask(*BareTable(), "SELECT pg_backend_pid()"), replaced);
  EXPECT_EQ(messages.All().size(), 1U);
}

TEST_F(LostConnection, BeforeTheTransactionBeganGivesAFatalResultAndOneMessage) {
  // Outside a scope a table learns the process's number without a transaction; inside, nothing may be sent
  // first.
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  test::server::Query("postgres",
                      "SELECT pg_terminate_backend(pid, 5000) FROM pg_stat_activity WHERE datname = '" +
                          scratch_.Name() + "' AND application_name = 'brio-runhistory'");
  const CapturedMessages messages("debug");
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT 1").get()), PGRES_FATAL_ERROR);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("terminating connection due to administrator command")));
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_EQ(Ask(*table, "SELECT 1"), "1");
}

TEST_F(LostConnection, DuringAStatementGivesAFatalResult) {
  ConnectAs("postgres");
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  const CapturedMessages messages("debug");
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT pg_terminate_backend(pg_backend_pid())").get()),
            PGRES_FATAL_ERROR);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").size(), 1U);
}

}  // namespace
}  // namespace brio::dbi
