#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::RecordedSteps;
using testing::ElementsAre;
using testing::HasSubstr;

using Step = DatabaseStep;
using LoadScopeEnd = test::OwnDatabase;

TEST_F(LoadScopeEnd, ClosesWhatTablesStillHold) {
  const auto table = Facts();
  {
    const LoadScope scope;
    ASSERT_TRUE(table->Load());
  }
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  EXPECT_THAT(Notes(*table), ElementsAre("one", "two"));  // the rows stay
  PGresult* result = nullptr;
  EXPECT_FALSE(table->ExecuteSQL("SELECT 1", result));
  EXPECT_EQ(result, nullptr);
  EXPECT_TRUE(table->Load());
}

TEST_F(LoadScopeEnd, ByAnExceptionCommitsAndClosesToo) {
  const RecordedSteps steps;
  try {
    const LoadScope outer;
    const LoadScope inner;
    ASSERT_TRUE(Facts()->Load());
    throw std::runtime_error("load failed");
  } catch (const std::runtime_error&) { EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0); }
  EXPECT_THAT(steps.Steps(), ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Commit));
}

TEST_F(LoadScopeEnd, AfterAFailedStatementHasNothingToCommit) {
  const RecordedSteps steps;
  const CapturedMessages messages;
  {
    const LoadScope scope;
    const auto table = BareTable();
    ASSERT_TRUE(table->GetConnection(0));
    Run(*table, "SELECT 1/0");
  }
  EXPECT_THAT(steps.Steps(), ElementsAre(Step::Connect, Step::Begin, Step::Statement));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  EXPECT_EQ(messages.All().size(), 1U);
}

TEST_F(LoadScopeEnd, WithAConnectionThatWasNeverUsedSendsNothing) {
  const RecordedSteps steps;
  {
    const LoadScope scope;
    ASSERT_TRUE(BareTable()->GetConnection(0));
  }
  EXPECT_THAT(steps.Steps(), ElementsAre(Step::Connect));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

TEST_F(LoadScopeEnd, LeavingTheConnectionsOnTheWayReadsAfresh) {
  const RecordedSteps steps;
  {
    const LoadScope outer;
    const LoadScope inner;
    const auto table = Facts();
    ASSERT_TRUE(table->Load());
    LoadScope::LeaveConnections();
    EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
    scratch_.Execute("UPDATE facts SET note = 'new'");
    ASSERT_TRUE(table->Load());
    EXPECT_THAT(Notes(*table), ElementsAre("new", "new"));
    EXPECT_EQ(Ask(*table, "SHOW transaction_isolation"), "repeatable read");
  }
  EXPECT_THAT(steps.Steps(),
              ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Commit, Step::Connect,
                          Step::Begin, Step::Statement, Step::Statement, Step::Commit));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

TEST_F(LoadScopeEnd, LeavingConnectionsOutsideAScopeIsHarmless) {
  const auto table = BareTable();
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  LoadScope::LeaveConnections();
  EXPECT_EQ(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(LoadScopeEnd, WithAConnectionThatBrokeSaysSoOnce) {
  const CapturedMessages messages("debug");
  {
    const LoadScope scope;
    const auto table = BareTable();
    const std::string process = Ask(*table, "SELECT pg_backend_pid()");
    test::server::Query("postgres", "SELECT pg_terminate_backend(" + process + ", 5000)");
  }
  // The COMMIT finds out, and only its one line tells.
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("terminating connection due to administrator command")));
  EXPECT_EQ(messages.All().size(), 1U);
}

TEST_F(LoadScopeEnd, AnotherThreadsScopeIsItsOwn) {
  const LoadScope scope;
  const auto table = BareTable();
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  std::string withoutScope;
  std::string withScope;
  std::string isolation;
  std::thread other([&] {
    const auto own = BareTable();
    withoutScope = Ask(*own, "SELECT pg_backend_pid()");
    isolation = Ask(*own, "SHOW transaction_isolation");
    const LoadScope ownScope;
    withScope = Ask(*BareTable(), "SELECT pg_backend_pid()");
    LoadScope::LeaveConnections();
  });
  other.join();
  EXPECT_EQ(isolation, "read committed");
  EXPECT_NE(withoutScope, process);
  EXPECT_NE(withScope, process);
  EXPECT_NE(withScope, withoutScope);
  EXPECT_EQ(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(LoadScopeEnd, ThreadsLoadAtTheSameTime) {
  const auto before = ConnectionStatistics::Now();
  std::vector<std::thread> threads;
  std::vector<int> rows(4, 0);
  for (auto& count : rows) {
    threads.emplace_back([&count, this] {
      for (int i = 0; i < 5; ++i) {
        const LoadScope scope;
        const auto table = Facts();
        if (table->Load() && Facts()->Load()) { count += table->NRow(); }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(rows, ElementsAre(10, 10, 10, 10));
  const auto after = ConnectionStatistics::Now();
  EXPECT_EQ(after.connectionsOpened - before.connectionsOpened, 20);
  EXPECT_EQ(after.transactionsBegun - before.transactionsBegun, 20);
  EXPECT_EQ(after.statementsSent - before.statementsSent, 40);
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

}  // namespace
}  // namespace brio::dbi
