#include "RunHistory/StatementTime.h"

#include <gmock/gmock.h>

#include "tests/support/Output.h"

namespace brio::dbi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TimeOfAStatement : public testing::TestWithParam<const char*> {};

TEST_P(TimeOfAStatement, MayStandInIt) {
  const test::CapturedMessages messages("debug");
  EXPECT_TRUE(MayStandInStatement(GetParam()));
  EXPECT_THAT(messages.All(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(StatementTime, TimeOfAStatement,
                         testing::Values("2013-01-01 00:00:00", "2013-01-01 00:00:00.123456", "infinity",
                                         "-infinity", "0044-03-15 12:00:00 BC", "2013-01-01 00:00:00+00",
                                         "2013-01-01T00:00:00Z", "294276-12-31 23:59:59.999999",
                                         // Not times, but the server says so.
                                         "", "yesterday evening"));

struct Foreign {
  std::string text;
  std::string shown;
};

class NoTimeOfAStatement : public testing::TestWithParam<Foreign> {};

TEST_P(NoTimeOfAStatement, IsReportedAndMayNot) {
  const test::CapturedMessages messages("debug");
  EXPECT_FALSE(MayStandInStatement(GetParam().text));
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"),
              ElementsAre("the run's start is no time, and no statement is sent with it: \"" +
                          GetParam().shown + '"'));
}

INSTANTIATE_TEST_SUITE_P(
    StatementTime, NoTimeOfAStatement,
    testing::Values(Foreign{"' or '1'='1", "' or '1'='1"}, Foreign{R"(2013\)", R"(2013\\)"},
                    Foreign{"2013;", "2013;"}, Foreign{"\"2013\"", R"(\"2013\")"}, Foreign{"$1", "$1"},
                    Foreign{"2013-01-01 /* */", "2013-01-01 /* */"}, Foreign{"2013\n", R"(2013\x0a)"},
                    Foreign{"2013\t01", R"(2013\x0901)"}, Foreign{"2013\x7f", R"(2013\x7f)"},
                    Foreign{"2013\xc3\xa9", R"(2013\xc3\xa9)"}, Foreign{"2013,5", "2013,5"},
                    Foreign{std::string(100'000, '\''), std::string(100, '\'') + "..."}));

}  // namespace
}  // namespace brio::dbi
