#include <cstdlib>
#include <iostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/MessageLogger.h"
#include "tests/support/Output.h"

namespace {

using brio::Severity;
using brio::messagelogger::IsEnabled;
using brio::messagelogger::SetLevels;
using brio::test::CapturedMessages;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// The lowest severity that is shown.
std::string Level(const std::string& category) {
  if (IsEnabled(Severity::Debug, category)) { return "debug"; }
  if (IsEnabled(Severity::Info, category)) { return "info"; }
  if (IsEnabled(Severity::Warning, category)) { return "warning"; }
  return IsEnabled(Severity::Error, category) ? "error" : "none";
}

class MessageLevels : public testing::Test {
protected:
  CapturedMessages messages_{""};
};

TEST_F(MessageLevels, AreWarningByDefault) { EXPECT_EQ(Level("RunHistory"), "warning"); }

TEST_F(MessageLevels, OffHidesErrorsToo) {
  SetLevels("off");
  EXPECT_EQ(Level("RunHistory"), "none");
  SetLevels("off,RunHistory=error");
  EXPECT_EQ(Level("RunHistory"), "error");
  EXPECT_EQ(Level("BrioDatabase"), "none");
  SetLevels("BrioDatabase=off");
  EXPECT_EQ(Level("RunHistory"), "warning");
  EXPECT_EQ(Level("BrioDatabase"), "none");
}

TEST_F(MessageLevels, OneLevelHoldsForEveryCategory) {
  for (const std::string level : {"debug", "info", "warning", "error"}) {
    SetLevels(level);
    EXPECT_EQ(Level("RunHistory"), level);
    EXPECT_EQ(Level("BrioDatabase"), level);
  }
}

TEST_F(MessageLevels, EverySeverityFromTheLevelUpIsShown) {
  SetLevels("info");
  EXPECT_FALSE(IsEnabled(Severity::Debug, "RunHistory"));
  EXPECT_TRUE(IsEnabled(Severity::Info, "RunHistory"));
  EXPECT_TRUE(IsEnabled(Severity::Warning, "RunHistory"));
  EXPECT_TRUE(IsEnabled(Severity::Error, "RunHistory"));
}

TEST_F(MessageLevels, ACategorysOwnLevelGoesBeforeTheGeneralOne) {
  SetLevels("info,RunHistory=debug,BrioDatabase=error");
  EXPECT_EQ(Level("RunHistory"), "debug");
  EXPECT_EQ(Level("BrioDatabase"), "error");
  EXPECT_EQ(Level("APDInfo"), "info");
  EXPECT_EQ(Level("runhistory"), "info");

  SetLevels("RunHistory=debug,error");
  EXPECT_EQ(Level("RunHistory"), "debug");
  EXPECT_EQ(Level("APDInfo"), "error");
}

TEST_F(MessageLevels, WithoutAGeneralLevelOtherCategoriesKeepTheDefault) {
  SetLevels("RunHistory=debug");
  EXPECT_EQ(Level("RunHistory"), "debug");
  EXPECT_EQ(Level("APDInfo"), "warning");
}

TEST_F(MessageLevels, AreReplacedAsAWhole) {
  SetLevels("debug,RunHistory=error");
  SetLevels("APDInfo=info");
  EXPECT_EQ(Level("RunHistory"), "warning");
  EXPECT_EQ(Level("APDInfo"), "info");
  SetLevels("");
  EXPECT_EQ(Level("APDInfo"), "warning");
}

TEST_F(MessageLevels, BlanksAndEmptyPartsDoNotCount) {
  SetLevels(" info , RunHistory = debug ,, BrioDatabase=\terror\n,");
  EXPECT_EQ(Level("RunHistory"), "debug");
  EXPECT_EQ(Level("BrioDatabase"), "error");
  EXPECT_EQ(Level("APDInfo"), "info");
  EXPECT_TRUE(messages_.All().empty());
}

TEST_F(MessageLevels, UnreadablePartsAreReportedAndSkipped) {
  SetLevels("verbose,RunHistory=debug,BrioDatabase=loud,=info,APDInfo=,a=b=info");
  EXPECT_EQ(Level("RunHistory"), "debug");
  EXPECT_EQ(Level("BrioDatabase"), "warning");
  EXPECT_EQ(Level("APDInfo"), "warning");
  EXPECT_EQ(Level("a"), "warning");
  EXPECT_THAT(messages_.Texts(Severity::Warning, "MessageLogger"),
              ElementsAre(HasSubstr("\"verbose\""), HasSubstr("\"BrioDatabase=loud\""),
                          HasSubstr("\"=info\""), HasSubstr("\"APDInfo=\""), HasSubstr("\"a=b=info\"")));
  EXPECT_EQ(messages_.All().size(), 5U);
}

// Each of these is a process of its own, since the variable is read once, when the logger is first used.
class BrioLogDeathTest : public testing::Test {
protected:
  BrioLogDeathTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  /// Ends the process; the levels found go to standard error.
  [[noreturn]] static void ReportLevels() {
    const std::string levels = Level("RunHistory") + " " + Level("APDInfo");
    std::cerr << "levels: " << levels << '\n';
    std::_Exit(0);
  }
};

TEST_F(BrioLogDeathTest, SetsTheLevels) {
  EXPECT_EXIT(
      {
        setenv("BRIO_LOG", "info,RunHistory=debug", 1);
        ReportLevels();
      },
      testing::ExitedWithCode(0), "levels: debug info");
}

TEST_F(BrioLogDeathTest, UnsetMeansWarning) {
  EXPECT_EXIT(
      {
        unsetenv("BRIO_LOG");
        ReportLevels();
      },
      testing::ExitedWithCode(0), "levels: warning warning");
}

TEST_F(BrioLogDeathTest, IsReadOnce) {
  EXPECT_EXIT(
      {
        setenv("BRIO_LOG", "error", 1);
        Level("RunHistory");
        setenv("BRIO_LOG", "debug", 1);
        ReportLevels();
      },
      testing::ExitedWithCode(0), "levels: error error");
}

TEST_F(BrioLogDeathTest, UnreadablePartsAreReportedOnStandardError) {
  EXPECT_EXIT(
      {
        setenv("BRIO_LOG", "info,RunHistory=all", 1);
        ReportLevels();
      },
      testing::ExitedWithCode(0),
      AllOf(HasSubstr("warning MessageLogger: cannot read the level \"RunHistory=all\""),
            HasSubstr("levels: info info")));
}

}  // namespace
