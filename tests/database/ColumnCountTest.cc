#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/PerformPGQuery.h"
#include "tests/database/ForgingServer.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::ForgingServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Refused(int came, int asked, const std::string& statement) {
  return "the answer has " + std::to_string(came) + " columns where " + std::to_string(asked) +
         " were asked for; the connection is closed: " + statement;
}

/// Rows with another number of columns than the statement asks for.
class ColumnCount : public test::OwnDatabase {
protected:
  ColumnCount() { table_.SetDetector("Birch"); }

  Table table_;
  CapturedMessages messages_;
};

TEST_F(ColumnCount, OfAHandWrittenStatementIsChecked) {
  EXPECT_EQ(ResultHandle(PerformPGQuery("SELECT 1, 2", table_, 3)), nullptr);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"), ElementsAre(Refused(2, 3, "SELECT 1, 2")));
  EXPECT_THAT(messages_.Texts(Severity::Error, "RunHistory"), ElementsAre("Query failed: SELECT 1, 2"));
  EXPECT_EQ(ResultHandle(PerformPGQuery("SELECT 1, 2", table_, 1)), nullptr);
  EXPECT_NE(ResultHandle(PerformPGQuery("SELECT 1, 2", table_, 2)), nullptr);
  EXPECT_NE(ResultHandle(PerformPGQuery("SELECT 1, 2 WHERE false", table_, 2)), nullptr);
}

TEST_F(ColumnCount, IsAnyUnlessSaid) {
  EXPECT_NE(ResultHandle(PerformPGQuery("SELECT 1, 2", table_)), nullptr);
  EXPECT_EQ(Ask(table_, "SELECT 1, 2"), "1");
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(ColumnCount, IsCheckedBeforeAnyRowIsGiven) {
  int taken = 0;
  const auto take = [&taken](const RowView&) { ++taken; };
  EXPECT_EQ(PerformPGQuery("SELECT g FROM generate_series(1, 3) g", table_, take, 2), std::nullopt);
  EXPECT_EQ(taken, 0);
  EXPECT_EQ(PerformPGQuery("SELECT g FROM generate_series(1, 3) g", table_, take, 1), 3);
  EXPECT_EQ(taken, 3);
}

TEST_F(ColumnCount, OfAnotherKindClosesTheConnectionAndLeavesTheLoadUsable) {
  const LoadScope scope;
  ASSERT_TRUE(table_.GetConnection(0));
  PGresult* result = nullptr;
  EXPECT_TRUE(table_.ExecuteSQL("SELECT 1", result, 2));
  EXPECT_EQ(PQresultStatus(result), PGRES_FATAL_ERROR);
  PQclear(result);
  EXPECT_FALSE(table_.ExecuteSQL("SELECT 1", result, 1));
  EXPECT_EQ(Ask(table_, "SELECT 1"), "1");
}

TEST_F(ColumnCount, OfATableIsThatOfItsDefinitionLessTheExcluded) {
  const auto facts = Facts();
  EXPECT_TRUE(facts->Load());
  facts->AddExcludeCol("id");
  EXPECT_TRUE(facts->Load());
  EXPECT_THAT(Notes(*facts), ElementsAre("one", "two"));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(ColumnCount, OfAForgedAnswerMakesALoadFail) {
  ForgingServer server;
  const test::EnvironmentVariable there("BRIO_DATABASE", server.ConnectionString());
  server.AnswerRows({{"1"}, {"2"}});
  const auto facts = Facts();
  EXPECT_FALSE(facts->Load());
  EXPECT_EQ(facts->NRow(), 0);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("the answer has 1 columns where 2 were asked for")));
  server.AnswerRows({{"1", "one", "more"}});
  EXPECT_FALSE(facts->Load());
  server.AnswerRows({{"1", "one"}});
  EXPECT_TRUE(facts->Load());
  EXPECT_THAT(Notes(*facts), ElementsAre("one"));
}

}  // namespace
}  // namespace brio::dbi
