#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

using LoadFailure = test::OwnDatabase;

TEST_F(LoadFailure, ATableThatIsMissingIsNamedOnce) {
  scratch_.Execute("DROP TABLE facts");
  const auto table = Facts();
  const CapturedMessages messages("debug");
  EXPECT_FALSE(table->Load());
  EXPECT_EQ(table->NRow(), 0);
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(
      messages.Texts(Severity::Error, "BrioDatabase"),
      ElementsAre(AllOf(StartsWith("database \"" + scratch_.Name() + "\": ERROR:  "),
                        HasSubstr("relation \"facts\" does not exist"), EndsWith(" [SQLSTATE 42P01]"))));
}

TEST_F(LoadFailure, ATableThatMayNotBeReadIsNamedOnce) {
  ConnectAs("brio_nobody");
  const auto table = Facts();
  const CapturedMessages messages("debug");
  EXPECT_FALSE(table->Load());
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("database \"" + scratch_.Name() +
                          "\": ERROR:  permission denied for table facts [SQLSTATE 42501]"));
}

TEST_F(LoadFailure, AColumnThatIsMissingIsNamedOnce) {
  scratch_.Execute("ALTER TABLE facts RENAME note TO remark");
  const auto table = Facts();
  const CapturedMessages messages("debug");
  EXPECT_FALSE(table->Load());
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.All().front().text, HasSubstr("column \"note\" does not exist"));
}

TEST_F(LoadFailure, TheTableCanBeLoadedOnceTheCauseIsGone) {
  scratch_.Execute("ALTER TABLE facts RENAME TO away");
  const auto table = Facts();
  {
    const CapturedMessages messages;
    EXPECT_FALSE(table->Load());
  }
  scratch_.Execute("ALTER TABLE away RENAME TO facts");
  EXPECT_TRUE(table->Load());
  EXPECT_EQ(table->NRow(), 2);
}

TEST_F(LoadFailure, ADatabaseThatIsAwayIsReportedOnce) {
  ConnectAs("brio_reader", "dbname=no_such_database");
  const auto table = Facts();
  const CapturedMessages messages("debug");
  EXPECT_FALSE(table->Load());
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.All().front().text, HasSubstr("database \"no_such_database\" does not exist"));
}

}  // namespace
}  // namespace brio::dbi
