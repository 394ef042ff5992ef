#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/PerformPGQuery.h"
#include "database/StatementObserver.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::IsEmpty;

/// "database: statement: 3 rows" of each statement that was answered.
class ObservedStatements : public test::OwnDatabase {
protected:
  ObservedStatements() {
    SetStatementObserver([this](const AnsweredStatement& answered) {
      EXPECT_GT(answered.took.count(), 0);
      seen_.push_back((answered.database == scratch_.Name() ? "" : answered.database + ": ") +
                      answered.statement.text + ": " + std::to_string(answered.rows) + " rows" +
                      (answered.hasFailed ? ", failed" : ""));
    });
  }
  ~ObservedStatements() override { SetStatementObserver({}); }

  CapturedMessages messages_;
  std::vector<std::string> seen_;
};

TEST_F(ObservedStatements, AreTheAnsweredOnesWithTheirRows) {
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  Run(*table, "SELECT note FROM facts");
  Run(*table, "SELECT nonsense FROM facts");
  EXPECT_THAT(seen_,
              ElementsAre("SELECT note FROM facts: 2 rows", "SELECT nonsense FROM facts: 0 rows, failed"));
}

TEST_F(ObservedStatements, HaveTheRowsThatAConsumerTook) {
  const auto table = BareTable();
  const char* three = "SELECT g FROM generate_series(1, 3) g";
  EXPECT_EQ(PerformPGQuery(three, *table, [](const RowView&) {}), 3);
  EXPECT_THAT(seen_, ElementsAre(std::string(three) + ": 3 rows"));
}

TEST_F(ObservedStatements, AreNotTheTransactionsOfALoad) {
  ASSERT_TRUE(Facts()->Load());
  ASSERT_EQ(seen_.size(), 1U);
  EXPECT_THAT(seen_[0], testing::MatchesRegex("SELECT .*\"facts\".*: 2 rows"));
}

TEST_F(ObservedStatements, AreNotSeenByAnObserverThatWasRemoved) {
  SetStatementObserver({});
  ASSERT_TRUE(Facts()->Load());
  EXPECT_THAT(seen_, IsEmpty());
}

}  // namespace
}  // namespace brio::dbi
