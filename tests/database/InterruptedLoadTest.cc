#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;

/// What LoadScope::WasInterrupted tells of a load whose statement failed.
class InterruptedLoad : public test::OwnDatabase {
protected:
  InterruptedLoad() { ConnectAs("postgres"); }

  /// A statement that fails with an SQLSTATE as if the server had failed with it.
  static std::string Raise(const std::string& state) {
    return "DO $$ BEGIN RAISE SQLSTATE '" + state + "'; END $$";
  }
  /// Runs a statement in a load of its own that runs nothing else.
  static bool IsInterruptedBy(const std::string& statement) {
    const LoadScope scope;
    Ask(*BareTable(), statement);
    return LoadScope::WasInterrupted();
  }
  static void End(const std::string& process) {
    test::server::Query("postgres", "SELECT pg_terminate_backend(" + process + ", 5000)");
  }

  CapturedMessages messages_;
};

TEST_F(InterruptedLoad, IsOneWhoseStatementMaySucceedWhenAskedAgain) {
  for (const char* state : {"40001", "40P01", "57P01", "57P02"}) {
    EXPECT_TRUE(IsInterruptedBy(Raise(state))) << state;
  }
}

TEST_F(InterruptedLoad, IsNoneWhoseStatementWouldFailAgain) {
  EXPECT_FALSE(IsInterruptedBy("SELECT 1"));
  EXPECT_FALSE(IsInterruptedBy("SELECT 1/0"));
  EXPECT_FALSE(IsInterruptedBy("SELECT * FROM nothing"));
  for (const char* state : {"57014", "53300", "57P03", "40002"}) {
    EXPECT_FALSE(IsInterruptedBy(Raise(state))) << state;
  }
}

TEST_F(InterruptedLoad, IsOneWhoseConnectionIsLostWhileItWorks) {
  EXPECT_TRUE(IsInterruptedBy("SELECT pg_terminate_backend(pg_backend_pid())"));
}

TEST_F(InterruptedLoad, IsOneWhoseConnectionIsLostBetweenTwoStatements) {
  const LoadScope scope;
  const auto table = BareTable();
  End(Ask(*table, "SELECT pg_backend_pid()"));
  EXPECT_FALSE(LoadScope::WasInterrupted());
  Run(*table, "SELECT 1");
  EXPECT_TRUE(LoadScope::WasInterrupted());
}

TEST_F(InterruptedLoad, IsNoneThatReachesNoServer) {
  ConnectAs("postgres", "host=" + folder_.Path());
  EXPECT_FALSE(IsInterruptedBy("SELECT 1"));
}

TEST_F(InterruptedLoad, IsNoneWhoseServerFellSilent) {
  const test::EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "1");
  // The server's own limit would come first.
  const LoadScope scope;
  const auto table = BareTable();
  Ask(*table, "SELECT set_config('statement_timeout', '0', true)");
  Run(*table, "SELECT pg_sleep(60)");
  EXPECT_FALSE(LoadScope::WasInterrupted());
  EXPECT_EQ(messages_.All().size(), 1U);
}

TEST_F(InterruptedLoad, StaysOneUntilItLeavesItsConnections) {
  const LoadScope outer;
  {
    const LoadScope inner;
    Ask(*BareTable(), Raise("40001"));
  }
  Ask(*BareTable(), "SELECT 1");
  EXPECT_TRUE(LoadScope::WasInterrupted());
  LoadScope::LeaveConnections();
  EXPECT_FALSE(LoadScope::WasInterrupted());
}

TEST_F(InterruptedLoad, IsForgottenWithItsScope) {
  EXPECT_TRUE(IsInterruptedBy(Raise("40001")));
  EXPECT_FALSE(LoadScope::WasInterrupted());
  const LoadScope next;
  EXPECT_FALSE(LoadScope::WasInterrupted());
}

TEST_F(InterruptedLoad, IsNoneOutsideAScope) {
  Ask(*BareTable(), Raise("40001"));
  EXPECT_FALSE(LoadScope::WasInterrupted());
  const LoadScope scope;
  EXPECT_FALSE(LoadScope::WasInterrupted());
}

TEST_F(InterruptedLoad, OnlyTheFirstOfNestedScopesIsOutermost) {
  EXPECT_FALSE(LoadScope::IsOutermost());
  const LoadScope outer;
  EXPECT_TRUE(LoadScope::IsOutermost());
  {
    const LoadScope inner;
    EXPECT_FALSE(LoadScope::IsOutermost());
  }
  EXPECT_TRUE(LoadScope::IsOutermost());
}

}  // namespace
}  // namespace brio::dbi
