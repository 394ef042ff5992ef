#include "RunHistory/HardwareDate.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "framework/TimeStamp.h"

namespace brio::dbi {
namespace {

double Stamp(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
             unsigned int second) {
  return TTimeStamp(year, month, day, hour, minute, second).AsDouble();
}

struct Case {
  const char* text;
  unsigned int year, month, day, hour, minute, second;
};

class HardwareDateOf : public testing::TestWithParam<Case> {};

TEST_P(HardwareDateOf, CutsFixedPlaces) {
  const Case& c = GetParam();
  EXPECT_EQ(HardwareDate(c.text), Stamp(c.year, c.month, c.day, c.hour, c.minute, c.second)) << c.text;
}

INSTANTIATE_TEST_SUITE_P(Texts, HardwareDateOf,
                         testing::Values(Case{"2013-05-06 14:35:09", 2013, 5, 6, 4, 5, 9},
                                         Case{"2013-05-06 14:35:09.25", 2013, 5, 6, 4, 5, 9},
                                         Case{"2013-05-06 14:35:09+00", 2013, 5, 6, 4, 5, 9},
                                         Case{"2013-05-06 14:35:59", 2013, 5, 6, 4, 5, 9},
                                         Case{"2013-05-06 00:00:00+00", 2013, 5, 6, 0, 0, 0},
                                         Case{"1999-12-31 23:59:59.999999+00", 1999, 12, 31, 3, 9, 9},
                                         Case{"2016-02-29 20:10:30", 2016, 2, 29, 0, 0, 0},
                                         // Laid out as the cuts expect, it would be read faithfully.
                                         Case{"2013-05-06  14:35:09", 2013, 5, 6, 14, 35, 9}));

TEST(HardwareDate, IsInSecondsSince1970) {
  EXPECT_EQ(HardwareDate("2013-05-06 14:35:09"), 1367813109.0);
  EXPECT_EQ(HardwareDate("1970-01-01 00:00:00"), 0.0);
}

TEST(HardwareDate, MissingPiecesAreZero) {
  const std::string whole = "2013-05-06 14:35:09.25";
  const auto ofFirst = [&](std::size_t length) { return HardwareDate(whole.substr(0, length).c_str()); };
  EXPECT_EQ(ofFirst(19), Stamp(2013, 5, 6, 4, 5, 9));
  EXPECT_EQ(ofFirst(18), Stamp(2013, 5, 6, 4, 5, 0));
  EXPECT_EQ(ofFirst(15), Stamp(2013, 5, 6, 4, 0, 0));
  EXPECT_EQ(ofFirst(12), Stamp(2013, 5, 6, 0, 0, 0));
  EXPECT_EQ(ofFirst(10), Stamp(2013, 5, 6, 0, 0, 0));
  EXPECT_EQ(ofFirst(9), Stamp(2013, 5, 0, 0, 0, 0));
  EXPECT_EQ(ofFirst(7), Stamp(2013, 5, 0, 0, 0, 0));
  EXPECT_EQ(ofFirst(4), Stamp(2013, 0, 0, 0, 0, 0));
  EXPECT_EQ(ofFirst(2), Stamp(20, 0, 0, 0, 0, 0));
  EXPECT_EQ(ofFirst(0), Stamp(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(HardwareDate("infinity"), Stamp(0, 0, 0, 0, 0, 0));
}

/// A text of any length is put right before memory that must not be touched.
TEST(HardwareDate, NeverReadsBeyondTheText) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  void* memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  char* end = static_cast<char*>(memory) + page;
  ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
  const std::string whole = "2013-05-06 14:35:09.25+00";
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    char* text = end - length - 1;
    std::memcpy(text, whole.data(), length);
    text[length] = '\0';
    EXPECT_EQ(HardwareDate(text), HardwareDate(whole.substr(0, length).c_str())) << length;
  }
  munmap(memory, 2 * page);
}

}  // namespace
}  // namespace brio::dbi
