#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::HasSubstr;

class SendAhead : public test::OwnDatabase {};

TEST_F(SendAhead, GivesItsRowsToTheNextCallWithTheSameTextAndIsSentOnce) {
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_EQ(Ask(*table, "SELECT 'first'"), "first");
  const long before = ConnectionStatistics::Now().statementsSent;
  table->SendAhead("SELECT note FROM facts ORDER BY id DESC");
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before + 1);
  EXPECT_EQ(Ask(*table, "SELECT note FROM facts ORDER BY id DESC"), "two");
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before + 1);
  EXPECT_EQ(Ask(*table, "SELECT note FROM facts ORDER BY id DESC"), "two");
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before + 2);
}

TEST_F(SendAhead, ReadsTheStateOfItsLoad) {
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_EQ(Ask(*table, "SELECT count(*) FROM facts"), "2");
  scratch_.Execute("DELETE FROM facts");
  table->SendAhead("SELECT note FROM facts ORDER BY id");
  EXPECT_EQ(Ask(*table, "SELECT note FROM facts ORDER BY id"), "one");
}

TEST_F(SendAhead, GivesWayToAnotherStatement) {
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_EQ(Ask(*table, "SELECT 'first'"), "first");
  table->SendAhead("SELECT generate_series(1, 100000)");
  EXPECT_EQ(Ask(*table, "SELECT 'another'"), "another");
  table->SendAhead("SELECT 'dropped'");
  table->SendAhead("SELECT 'kept'");
  EXPECT_EQ(Ask(*table, "SELECT 'kept'"), "kept");
}

TEST_F(SendAhead, LeavesItsErrorToTheCallThatWantsItsRows) {
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_EQ(Ask(*table, "SELECT 'first'"), "first");
  const CapturedMessages messages;
  table->SendAhead("SELECT 1 / 0");
  EXPECT_TRUE(messages.All().empty());
  EXPECT_EQ(PQresultStatus(Run(*table, "SELECT 1 / 0").get()), PGRES_FATAL_ERROR);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(HasSubstr("division by zero")));
  EXPECT_EQ(Ask(*table, "SELECT 'next'"), "next");
}

TEST_F(SendAhead, DoesNothingWithoutAConnection) {
  const auto table = BareTable();
  const auto before = ConnectionStatistics::Now();
  table->SendAhead("SELECT 1");
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

TEST_F(SendAhead, KeepsNoConnectionOpenWhenNobodyWantsItsRows) {
  {
    const LoadScope scope;
    const auto table = BareTable();
    ASSERT_EQ(Ask(*table, "SELECT 'first'"), "first");
    const CapturedMessages messages;
    table->SendAhead("SELECT note FROM facts");
    LoadScope::LeaveConnections();
    EXPECT_TRUE(messages.All().empty());
  }
  EXPECT_TRUE(test::IsSoonWithoutConnections(scratch_.Name()));
}

}  // namespace
}  // namespace brio::dbi
