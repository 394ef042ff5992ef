#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::StartsWith;

/// Attempts, connections, statements and transactions since a moment.
std::vector<long> Since(const ConnectionStatistics& before) {
  const auto now = ConnectionStatistics::Now();
  return {now.connectionAttempts - before.connectionAttempts,
          now.connectionsOpened - before.connectionsOpened, now.statementsSent - before.statementsSent,
          now.transactionsBegun - before.transactionsBegun};
}

using Statistics = test::OwnDatabase;

TEST_F(Statistics, CountATablesLoads) {
  const auto before = ConnectionStatistics::Now();
  const auto table = Facts();
  EXPECT_THAT(Since(before), ElementsAre(0, 0, 0, 0));
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Since(before), ElementsAre(1, 1, 1, 1));
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Since(before), ElementsAre(1, 1, 2, 2));
}

TEST_F(Statistics, CountATransactionButNotItsOwnStatements) {
  const auto before = ConnectionStatistics::Now();
  {
    const LoadScope scope;
    ASSERT_TRUE(Facts()->Load());
    ASSERT_TRUE(Facts()->Load());
  }
  EXPECT_THAT(Since(before), ElementsAre(1, 1, 2, 1));
}

TEST_F(Statistics, CountStatementsThatFailAndAttemptsThatFail) {
  const CapturedMessages messages;
  const auto before = ConnectionStatistics::Now();
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  Run(*table, "SELECT 1/0");
  EXPECT_THAT(Since(before), ElementsAre(1, 1, 1, 0));
  ConnectAs("brio_reader", "dbname=no_such_database");
  EXPECT_FALSE(Facts()->Load());
  EXPECT_THAT(Since(before), ElementsAre(2, 1, 1, 0));
}

TEST_F(Statistics, AnObserverSeesEachStepBeforeItHappens) {
  scratch_.Execute("GRANT ALL ON facts TO brio_reader");
  const auto table = Facts();
  SetStepObserver([this](DatabaseStep step, const std::string& text) {
    // The transaction's state is that of its beginning.
    if (step == DatabaseStep::Begin) { scratch_.Execute("UPDATE facts SET note = 'just before'"); }
    if (step == DatabaseStep::Statement) {
      EXPECT_EQ(text, R"(SELECT "id", "note" FROM "facts" ORDER BY "id")");
    }
  });
  EXPECT_TRUE(table->Load());
  SetStepObserver({});
  EXPECT_THAT(Notes(*table), ElementsAre("just before", "just before"));
  scratch_.Execute("UPDATE facts SET note = 'later'");
  EXPECT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("later", "later"));
}

TEST_F(Statistics, AnObserverMaySeeTheTextOfEachStep) {
  std::vector<std::string> texts;
  SetStepObserver([&](DatabaseStep, const std::string& text) { texts.push_back(text); });
  {
    const LoadScope scope;
    EXPECT_EQ(Ask(*BareTable(), "SELECT 1"), "1");
  }
  SetStepObserver({});
  EXPECT_THAT(texts, ElementsAre("", StartsWith("BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY;"),
                                 "SELECT 1", "COMMIT"));
}

}  // namespace
}  // namespace brio::dbi
