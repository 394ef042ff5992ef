#include <chrono>
#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/PerformPGQuery.h"
#include "tests/database/LibpqDoubles.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::ResultAccount;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kThree = "SELECT g FROM generate_series(1, 3) g";

std::string NotSent(const std::string& statement) {
  return "a statement was not sent, since its connection is still giving the rows of another: " + statement;
}

/// What a consumer does to the connection whose rows it takes.
class FromARowConsumer : public test::OwnDatabase {
protected:
  FromARowConsumer() { table_.SetDetector("Birch"); }

  /// Does something at the first row. \return the rows
  template <class Action>
  std::vector<std::string> RowsWhile(Action act) {
    std::vector<std::string> rows;
    const auto count = PerformPGQuery(kThree, table_, [&](const RowView& row) {
      if (rows.empty()) { act(); }
      rows.emplace_back(row.Text(0));
    });
    EXPECT_EQ(count, 3);
    return rows;
  }

  Table table_;
  CapturedMessages messages_;
};

TEST_F(FromARowConsumer, AnotherStatementIsRefusedAndTheRowsGoOn) {
  const auto rows = RowsWhile([&] {
    PGresult* result = nullptr;
    EXPECT_FALSE(table_.ExecuteSQL("SELECT 7", result));
    EXPECT_EQ(result, nullptr);
  });
  EXPECT_THAT(rows, ElementsAre("1", "2", "3"));
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"), ElementsAre(NotSent("SELECT 7")));
  EXPECT_EQ(Ask(table_, "SELECT 7"), "7");
}

TEST_F(FromARowConsumer, AnotherQueryGivesTheConnectionUpOnlyAfterTheRows) {
  EXPECT_THAT(RowsWhile([&] { EXPECT_EQ(PerformPGQuery("SELECT 7", table_), nullptr); }),
              ElementsAre("1", "2", "3"));
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"), ElementsAre(NotSent("SELECT 7")));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

TEST_F(FromARowConsumer, AnotherTableOfTheLoadIsRefusedAndTheLoadGoesOn) {
  const LoadScope scope;
  const auto facts = Facts();
  EXPECT_THAT(RowsWhile([&] { EXPECT_FALSE(facts->Load()); }), ElementsAre("1", "2", "3"));
  EXPECT_EQ(messages_.All().size(), 1U);
  EXPECT_TRUE(facts->Load());
  EXPECT_FALSE(LoadScope::WasInterrupted());
}

TEST_F(FromARowConsumer, LeavingTheLoadsConnectionsWaitsForTheRows) {
  const LoadScope scope;
  EXPECT_THAT(RowsWhile([&] { LoadScope::LeaveConnections(); }), ElementsAre("1", "2", "3"));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  EXPECT_EQ(Ask(table_, "SELECT 7"), "7");
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(FromARowConsumer, AnotherConnectionMayBeUsed) {
  EXPECT_THAT(RowsWhile([&] { EXPECT_TRUE(Facts()->Load()); }), ElementsAre("1", "2", "3"));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(FromARowConsumer, RowsThatCannotBeHadOneByOneAreAFailure) {
  const test::NoSingleRows refused;
  int taken = 0;
  EXPECT_EQ(PerformPGQuery(kThree, table_, [&](const RowView&) { ++taken; }), std::nullopt);
  EXPECT_EQ(taken, 0);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("its rows cannot be had one by one")));
  EXPECT_EQ(Ask(table_, "SELECT 7"), "7");
}

TEST_F(FromARowConsumer, AnExceptionInALoadLeavesTheLoadUsable) {
  const LoadScope scope;
  const auto refuse = [](const RowView&) { throw std::bad_alloc(); };
  EXPECT_THROW(PerformPGQuery(kThree, table_, refuse), std::bad_alloc);
  EXPECT_TRUE(Facts()->Load());
  EXPECT_EQ(Ask(table_, "SHOW transaction_read_only"), "on");
}

TEST_F(FromARowConsumer, TheTimesOfQueryAndRowsAreToldApart) {
  const CapturedMessages messages("BrioDatabase=info");
  table_.SetTimeQueries(true);
  table_.SetTimeParsing(true);
  RowsWhile([] { std::this_thread::sleep_for(std::chrono::milliseconds(3000)); });
  const auto texts = messages.Texts(Severity::Info, "BrioDatabase");
  double query = 0.0;
  double rows = 0.0;
  ASSERT_EQ(texts.size(), 2U);
  ASSERT_EQ(std::sscanf(texts[0].c_str(), "query took %lf ms", &query), 1) << texts[0];
  ASSERT_EQ(std::sscanf(texts[1].c_str(), "parsing 3 rows took %lf ms", &rows), 1) << texts[1];
  EXPECT_GE(rows, 3000.0);
  EXPECT_LT(query, 2900.0);
}

/// PerformPGQuery clears every result that it does not hand over.
class ClearedResults : public test::OwnDatabase {
protected:
  ClearedResults() {
    ConnectAs("postgres");
    table_.SetDetector("Birch");
  }

  Table table_;
  CapturedMessages messages_;
};

TEST_F(ClearedResults, AreAllButTheOneHandedOver) {
  const ResultAccount account;
  {
    const ResultHandle rows(PerformPGQuery("SELECT 1", table_));
    EXPECT_EQ(ResultAccount::Open(), 1U);
  }
  EXPECT_EQ(ResultAccount::Open(), 0U);
}

TEST_F(ClearedResults, AreAllOfAFailure) {
  const ResultAccount account;
  for (const char* query : {"SELEKT", "UPDATE facts SET id = 1", "COPY facts TO STDOUT", "",
                            "SELECT pg_terminate_backend(pg_backend_pid())"}) {
    EXPECT_EQ(PerformPGQuery(query, table_), nullptr);
    EXPECT_EQ(ResultAccount::Open(), 0U) << query;
  }
  EXPECT_EQ(PerformPGQuery("SELECT 1", table_, 2), nullptr);
  EXPECT_EQ(ResultAccount::Open(), 0U);
  EXPECT_GE(ResultAccount::Given(), 6U);
}

TEST_F(ClearedResults, AreAllOfRowsGivenOneByOne) {
  const ResultAccount account;
  const auto take = [](const RowView&) {};
  EXPECT_EQ(PerformPGQuery(kThree, table_, take), 3);
  EXPECT_EQ(ResultAccount::Open(), 0U);
  EXPECT_EQ(PerformPGQuery("SELECT 1/(3 - g) FROM generate_series(1, 5) g", table_, take), std::nullopt);
  EXPECT_EQ(PerformPGQuery(kThree, table_, take, 2), std::nullopt);
  EXPECT_EQ(ResultAccount::Open(), 0U);
  const auto refuse = [](const RowView&) { throw std::runtime_error("enough"); };
  EXPECT_THROW(PerformPGQuery(kThree, table_, refuse), std::runtime_error);
  EXPECT_EQ(ResultAccount::Open(), 0U);
  EXPECT_GE(ResultAccount::Given(), 9U);
}

}  // namespace
}  // namespace brio::dbi
