#include <chrono>
#include <csignal>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// Stops a server process until the object dies.
class Frozen {
public:
  explicit Frozen(const std::string& process) : process_(std::stoi(process)) {
    frozen_ = kill(process_, SIGSTOP) == 0;
  }
  ~Frozen() { kill(process_, SIGCONT); }
  Frozen(const Frozen&) = delete;
  Frozen& operator=(const Frozen&) = delete;
  bool IsFrozen() const { return frozen_; }

private:
  pid_t process_;
  bool frozen_ = false;
};

using QueryTimeout = test::OwnDatabase;

constexpr const char* kNoAnswer =
    "connection to the database lost: no answer for 2 s; the connection is closed";

TEST_F(QueryTimeout, AStatementThatTakesTooLongCountsAsFailed) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "2");
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  const CapturedMessages messages("debug");
  const auto start = Clock::now();
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT pg_sleep(30)").get()), PGRES_FATAL_ERROR);
  EXPECT_GE(SecondsSince(start), 1.95);
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(kNoAnswer));
  PGresult* result = nullptr;
  EXPECT_FALSE(table->ExecuteSQL("SELECT 1", result));
  EXPECT_EQ(Ask(*table, "SELECT 1"), "1");
}

TEST_F(QueryTimeout, AServerThatIsFrozenDoesNotHangALoad) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "2");
  const LoadScope scope;
  const auto table = Facts();
  ASSERT_TRUE(table->Load());
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  const Frozen frozen(process);
  ASSERT_TRUE(frozen.IsFrozen());
  const CapturedMessages messages("debug");
  const auto start = Clock::now();
  EXPECT_FALSE(table->Load());
  EXPECT_GE(SecondsSince(start), 1.95);
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_EQ(table->NRow(), 0);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(kNoAnswer));
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_TRUE(table->Load());
  EXPECT_NE(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(QueryTimeout, AServerThatDoesNotReadALongStatementDoesNotHangTheJob) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "2");
  const auto table = BareTable();
  const Frozen frozen(Ask(*table, "SELECT pg_backend_pid()"));
  ASSERT_TRUE(frozen.IsFrozen());
  const CapturedMessages messages;
  const auto start = Clock::now();
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT '" + std::string(20'000'000, 'x') + "'").get()),
            PGRES_FATAL_ERROR);
  EXPECT_GE(SecondsSince(start), 1.95);
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(kNoAnswer));
}

TEST_F(QueryTimeout, ALongStatementReachesAServerThatReads) {
  EXPECT_EQ(Ask(*BareTable(), "SELECT length('" + std::string(20'000'000, 'x') + "')"), "20000000");
}

TEST_F(QueryTimeout, TheEndOfALoadDoesNotHangEither) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "2");
  const CapturedMessages messages;
  auto scope = std::make_unique<LoadScope>();
  const Frozen frozen(Ask(*BareTable(), "SELECT pg_backend_pid()"));
  ASSERT_TRUE(frozen.IsFrozen());
  const auto start = Clock::now();
  scope.reset();
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(kNoAnswer));
}

TEST_F(QueryTimeout, TheEndOfALoadIsWaitedForFiveSecondsAtMost) {
  const CapturedMessages messages;
  auto scope = std::make_unique<LoadScope>();
  const Frozen frozen(Ask(*BareTable(), "SELECT pg_backend_pid()"));
  ASSERT_TRUE(frozen.IsFrozen());
  const auto start = Clock::now();
  scope.reset();
  EXPECT_LT(SecondsSince(start), 30.0);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("connection to the database lost: no answer for 5 s; the connection is closed"));
}

TEST_F(QueryTimeout, InALoadTheServerStopsWorkingToo) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "2");
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  const CapturedMessages messages("debug");
  const auto start = Clock::now();
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT pg_sleep(30)").get()), PGRES_FATAL_ERROR);
  EXPECT_LT(SecondsSince(start), 20.0);
  EXPECT_EQ(messages.All().size(), 1U);
  const std::string sleeping =
      "SELECT count(*) FROM pg_stat_activity WHERE state = 'active' AND datname = '" + scratch_.Name() + "'";
  for (int i = 0; i < 1000 && test::server::Value("postgres", sleeping) != "0"; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_EQ(test::server::Value("postgres", sleeping), "0");
}

TEST_F(QueryTimeout, TheLimitIsOnSilenceNotOnTheWhole) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", "3");
  // Rows of some size keep coming, one each tenth of a second, for longer than the limit.
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  const auto result = Run(
      *table,
      "SELECT repeat('x', 20000), pg_sleep(0.1) FROM generate_series(1, 40) WHERE pg_sleep(0) IS NOT NULL");
  EXPECT_EQ(PQresultStatus(result.get()), PGRES_TUPLES_OK);
  EXPECT_EQ(PQntuples(result.get()), 40);
}

class BadQueryTimeout : public test::OwnDatabase, public testing::WithParamInterface<const char*> {};

TEST_P(BadQueryTimeout, IsReportedAndTheDefaultHolds) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", GetParam());
  const CapturedMessages messages;
  const LoadScope scope;
  EXPECT_EQ(Ask(*BareTable(), "SHOW statement_timeout"), "5min");
  EXPECT_THAT(messages.Texts(Severity::Warning, "BrioDatabase"),
              ElementsAre(std::string("BRIO_QUERY_TIMEOUT is \"") + GetParam() +
                          "\", not a number of seconds; using 300"));
}

INSTANTIATE_TEST_SUITE_P(QueryTimeout, BadQueryTimeout,
                         testing::Values("-1", "1.5", "10s", " 5", "five", "99999999999999999999", "1;DROP"));

class NoQueryTimeout : public test::OwnDatabase, public testing::WithParamInterface<const char*> {};

TEST_P(NoQueryTimeout, SetsNoLimit) {
  const EnvironmentVariable limit("BRIO_QUERY_TIMEOUT", GetParam());
  const CapturedMessages messages;
  const LoadScope scope;
  const auto table = BareTable();
  EXPECT_EQ(Ask(*table, "SHOW statement_timeout"), "0");
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT pg_sleep(1.2)").get()), PGRES_TUPLES_OK);
  EXPECT_THAT(messages.All(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(QueryTimeout, NoQueryTimeout, testing::Values("0", "9223372036854775807"));

}  // namespace
}  // namespace brio::dbi
