#include "database/RetryPause.h"

#include <limits>

#include <gtest/gtest.h>

namespace brio::dbi {
namespace {

double Seconds(int attempt, double chance) { return RetryPause(attempt, chance).count(); }

TEST(RetryPause, DoublesUpToFiveSeconds) {
  const double longest[] = {0.2, 0.4, 0.8, 1.6, 3.2, 5.0, 5.0, 5.0};
  for (int attempt = 1; attempt <= 8; ++attempt) {
    EXPECT_DOUBLE_EQ(Seconds(attempt, 1.0), longest[attempt - 1]) << attempt;
  }
  EXPECT_DOUBLE_EQ(Seconds(std::numeric_limits<int>::max(), 1.0), 5.0);
}

TEST(RetryPause, IsHalfOfThatAtLeast) {
  EXPECT_DOUBLE_EQ(Seconds(1, 0.0), 0.1);
  EXPECT_DOUBLE_EQ(Seconds(1, 0.5), 0.15);
  EXPECT_DOUBLE_EQ(Seconds(3, 0.0), 0.4);
  EXPECT_DOUBLE_EQ(Seconds(6, 0.0), 2.5);
  EXPECT_DOUBLE_EQ(Seconds(100, 0.25), 3.125);
}

}  // namespace
}  // namespace brio::dbi
