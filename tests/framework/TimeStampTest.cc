#include "framework/TimeStamp.h"

// Where the toolkit's own class is used, there is nothing of ours to test.
#ifndef BRIO_HAVE_ROOT

#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

namespace {

/// Midnight UTC of a day.
double Midnight(unsigned int year, unsigned int month, unsigned int day) {
  return TTimeStamp(year, month, day, 0, 0, 0).AsDouble();
}

constexpr double kDay = 86400;

TEST(TimeStamp, CountsSecondsSince1970) {
  EXPECT_EQ(Midnight(1970, 1, 1), 0);
  EXPECT_EQ(Midnight(2010, 1, 1), 1262304000);
  EXPECT_EQ(TTimeStamp(2001, 9, 9, 1, 46, 40).AsDouble(), 1000000000);
  EXPECT_EQ(TTimeStamp(2038, 1, 19, 3, 14, 8).AsDouble(), 2147483648.0);  // past 31 bits
  EXPECT_EQ(TTimeStamp(1969, 12, 31, 23, 59, 59).AsDouble(), -1);
}

TEST(TimeStamp, KnowsLeapDays) {
  EXPECT_EQ(Midnight(2016, 2, 29), 1456704000);
  EXPECT_EQ(Midnight(2016, 3, 1) - Midnight(2016, 2, 29), kDay);
  EXPECT_EQ(Midnight(2015, 2, 29), Midnight(2015, 3, 1));
  EXPECT_EQ(Midnight(2000, 3, 1) - Midnight(2000, 2, 28), 2 * kDay);
  EXPECT_EQ(Midnight(2100, 3, 1) - Midnight(2100, 2, 28), kDay);
}

TEST(TimeStamp, FieldsOutsideTheCalendarCarryOver) {
  EXPECT_EQ(Midnight(2014, 13, 1), Midnight(2015, 1, 1));
  EXPECT_EQ(Midnight(2014, 0, 1), Midnight(2013, 12, 1));
  EXPECT_EQ(Midnight(2014, 3, 0), Midnight(2014, 2, 28));
  EXPECT_EQ(Midnight(2014, 1, 32), Midnight(2014, 2, 1));
  EXPECT_EQ(TTimeStamp(2014, 1, 1, 24, 60, 60).AsDouble(), Midnight(2014, 1, 2) + 3600 + 60);
  EXPECT_EQ(Midnight(0, 0, 0), Midnight(1, 1, 1) - 366 * kDay - 31 * kDay - kDay);
}

TEST(TimeStamp, NegativeFieldsCarryOverDownwards) {
  EXPECT_EQ(Midnight(2014, 1, static_cast<unsigned int>(-1)), Midnight(2013, 12, 30));
  EXPECT_EQ(Midnight(2014, static_cast<unsigned int>(-1), 1), Midnight(2013, 11, 1));
}

TEST(TimeStamp, FieldsOfAnySizeAreTaken) {
  constexpr double kYear = 365.2425 * kDay;
  const auto years = [](double seconds) { return seconds / kYear + 1970; };
  EXPECT_NEAR(years(Midnight(2147483647U, 1, 1)), 2147483647.0, 1);
  EXPECT_NEAR(years(Midnight(2147483648U, 1, 1)), -2147483648.0, 2000);
  EXPECT_NEAR(years(Midnight(2014, 2147483647U, 1)), 2014 + 2147483647.0 / 12, 1);
  EXPECT_NEAR(years(Midnight(2014, 2147483648U, 1)), 2014 - 2147483648.0 / 12, 1);
  EXPECT_NEAR(years(Midnight(2014, 1, 2147483648U)), 2014 - 2147483648.0 / 365.2425, 1);
  EXPECT_EQ(TTimeStamp(2014, 1, 1, 0, 0, 2147483648U).AsDouble(), Midnight(2014, 1, 1) - 2147483648.0);
}

TEST(TimeStamp, NanosecondsAreTheFraction) {
  EXPECT_DOUBLE_EQ(TTimeStamp(1970, 1, 1, 0, 0, 1, 500000000).AsDouble(), 1.5);
  EXPECT_DOUBLE_EQ(TTimeStamp(1970, 1, 1, 0, 0, 0, 1).AsDouble(), 1e-9);
}

TEST(TimeStamp, ASecondAndMoreOfNanosecondsCarriesOver) {
  EXPECT_DOUBLE_EQ(TTimeStamp(1970, 1, 1, 0, 0, 0, 1500000000).AsDouble(), 1.5);
  EXPECT_DOUBLE_EQ(TTimeStamp(1970, 1, 1, 0, 0, 0, 4294967295U).AsDouble(), 4.294967295);
}

TEST(TimeStamp, TheOffsetIsAdded) {
  EXPECT_EQ(TTimeStamp(2010, 1, 1, 0, 0, 0, 0, true, 3600).AsDouble(), 1262304000 + 3600);
  EXPECT_EQ(TTimeStamp(2010, 1, 1, 0, 0, 0, 0, true, -3600).AsDouble(), 1262304000 - 3600);
}

/// A process's time zone, six hours behind UTC and five in summer, and then what it was.
class InTimeZone : public testing::Test {
public:
  InTimeZone() {
    const char* before = std::getenv("TZ");
    wasSet_ = before != nullptr;
    if (wasSet_) { before_ = before; }
    setenv("TZ", "CST6CDT,M3.2.0,M11.1.0", 1);
    tzset();
  }
  ~InTimeZone() override {
    if (wasSet_) {
      setenv("TZ", before_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

private:
  bool wasSet_ = false;
  std::string before_;
};

using TimeStampInTimeZone = InTimeZone;

TEST_F(TimeStampInTimeZone, LocalFieldsAreOfTheProcesssZone) {
  const auto local = [](unsigned int month, int offset) {
    return TTimeStamp(2014, month, 1, 0, 0, 0, 0, false, offset).AsDouble();
  };
  EXPECT_EQ(local(1, 0), Midnight(2014, 1, 1) + 6 * 3600);
  EXPECT_EQ(local(7, 0), Midnight(2014, 7, 1) + 5 * 3600);
  EXPECT_EQ(local(7, 60), Midnight(2014, 7, 1) + 5 * 3600 + 60);
}

TEST_F(TimeStampInTimeZone, UTCFieldsAreNot) { EXPECT_EQ(Midnight(2010, 1, 1), 1262304000); }

}  // namespace

#endif
