#include <set>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "experiment/OfflineChan.h"

namespace {

using geo::OfflineChan;

TEST(OfflineChan, GivesItsPlaneAndCell) {
  const OfflineChan channel(5, 300);
  EXPECT_EQ(channel.Plane(), 5U);
  EXPECT_EQ(channel.Cell(), 300U);
}

TEST(OfflineChan, IsOrderedByPlaneThenCell) {
  EXPECT_TRUE(OfflineChan(1, 9) < OfflineChan(2, 0));
  EXPECT_FALSE(OfflineChan(2, 0) < OfflineChan(1, 9));
  EXPECT_TRUE(OfflineChan(1, 3) < OfflineChan(1, 4));
  EXPECT_FALSE(OfflineChan(1, 4) < OfflineChan(1, 3));
  EXPECT_FALSE(OfflineChan(1, 4) < OfflineChan(1, 4));
}

TEST(OfflineChan, EqualsAChannelOfTheSamePlaneAndCell) {
  EXPECT_TRUE(OfflineChan(3, 4) == OfflineChan(3, 4));
  EXPECT_FALSE(OfflineChan(3, 4) == OfflineChan(4, 3));
  EXPECT_TRUE(OfflineChan(3, 4) != OfflineChan(3, 5));
  EXPECT_FALSE(OfflineChan(3, 4) != OfflineChan(3, 4));
}

TEST(OfflineChan, KeysASet) {
  const std::set<OfflineChan> channels{OfflineChan(2, 1), OfflineChan(1, 2), OfflineChan(2, 1),
                                       OfflineChan(1, 1)};
  EXPECT_THAT(channels, testing::ElementsAre(OfflineChan(1, 1), OfflineChan(1, 2), OfflineChan(2, 1)));
}

TEST(OfflineChan, IsMadeOnlyFromAPlaneAndACell) {
  EXPECT_FALSE(std::is_default_constructible_v<OfflineChan>);
  EXPECT_FALSE((std::is_convertible_v<unsigned int, OfflineChan>));
  EXPECT_TRUE((std::is_constructible_v<OfflineChan, unsigned int, unsigned int>));
}

}  // namespace
