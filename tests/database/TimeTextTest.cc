#include <string>

#include <gtest/gtest.h>

#include "database/Util.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

struct Reading {
  const char* text;
  long seconds;
};

class TimeText : public testing::TestWithParam<Reading> {};

TEST_P(TimeText, IsReadAsUTCWhateverTheProcessThinks) {
  const test::EnvironmentVariable zone("TZ", "America/Chicago");
  long t = -5;
  EXPECT_TRUE(Util::TimeAsStringToTime_t(GetParam().text, t)) << GetParam().text;
  EXPECT_EQ(t, GetParam().seconds) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Util, TimeText,
    testing::Values(Reading{"1970-01-01 00:00:00", 0}, Reading{"2010-01-01 00:00:00", 1262304000},
                    Reading{"2010-01-01 00:00:01.999999", 1262304001},
                    Reading{"2010-01-01 00:00:00.5", 1262304000}, Reading{"2016-02-29 12:34:56", 1456749296},
                    Reading{"2000-02-29 00:00:00", 951782400},
                    Reading{"2014-03-09 02:30:00", 1394332200},  // no such hour on Chicago's clocks
                    Reading{"1969-12-31 23:59:59", -1}, Reading{"1900-01-01 00:00:00", -2208988800},
                    Reading{"2038-01-19 03:14:08", 2147483648}, Reading{"9999-12-31 23:59:59", 253402300799},
                    Reading{"294276-12-31 23:59:59", 9224318015999}));

class BadTimeText : public testing::TestWithParam<const char*> {};

TEST_P(BadTimeText, IsRefusedAndLeavesTheTarget) {
  long t = -5;
  EXPECT_FALSE(Util::TimeAsStringToTime_t(GetParam(), t)) << GetParam();
  EXPECT_EQ(t, -5) << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Util, BadTimeText,
                         testing::Values("", "2010", "2010-01-01", "2010-01-01 00:00", "2010-01-01 00:00:0",
                                         "2010-01-01T00:00:00", "2010-01-01 00:00:00.",
                                         "2010-01-01 00:00:00x", "2010-01-01 00:00:00 ",
                                         " 2010-01-01 00:00:00", "2010-01-01 00:00:00.5x",
                                         "2010-01-01 00:00:00+00", "2010-01-01 00:00:00 BC", "infinity",
                                         "-infinity", "-2010-01-01 00:00:00", "2010-13-01 00:00:00",
                                         "2010-00-01 00:00:00", "2010-01-00 00:00:00", "2010-01-32 00:00:00",
                                         "2010-02-30 00:00:00", "2010-02-29 00:00:00", "1900-02-29 00:00:00",
                                         "2010-04-31 00:00:00", "2010-01-01 24:00:00", "2010-01-01 23:60:00",
                                         "2010-01-01 23:59:60", "2010-01-01 00:00:60", "2010-01-01 00:60:00",
                                         "999-01-01 00:00:00", "2010-1-1 0:0:0", "01/02/2010 00:00:00",
                                         "20100101 000000", "garbage", "99999999-01-01 00:00:00",
                                         "99999999999999999999999999-01-01 00:00:00"));

TEST(TimeText, ThatIsHugeIsRefused) {
  long t = -5;
  EXPECT_FALSE(Util::TimeAsStringToTime_t(std::string(10'000'000, '9'), t));
  EXPECT_FALSE(Util::TimeAsStringToTime_t(std::string("2010-01-01 00:00:00\0", 20), t));
  EXPECT_EQ(t, -5);
}

}  // namespace
}  // namespace brio::dbi
