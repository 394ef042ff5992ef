#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::test {
namespace {

constexpr int kAllGood = 0x3FFF;

/// A mask from its picture, diblock 1 first.
int Mask(const std::string& picture) {
  int mask = 0;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    if (picture[i] == '#') { mask |= 1 << i; }
  }
  return mask;
}

int Narrowed(int mask) { return dbi::RunHistory(13000, "Birch").ApplyAnalysisDiBlockMask(mask); }

/// The rule put another way: of the regions in a picture, the last that has at least four diblocks and is not
/// shorter than the region before it.
std::string NarrowedPicture(const std::string& picture) {
  struct Region {
    std::size_t begin;
    std::size_t end;
    std::size_t Length() const { return end - begin; }
  };
  std::vector<Region> regions{{0, 0}};
  for (auto begin = picture.find('#'); begin != std::string::npos;) {
    const auto end = std::min(picture.find('-', begin), picture.size());
    regions.push_back({begin, end});
    begin = picture.find('#', end);
  }
  for (auto i = regions.size() - 1; i > 0; --i) {
    if (regions[i].Length() >= 4 && regions[i].Length() >= regions[i - 1].Length()) {
      std::string kept(picture.size(), '-');
      return kept.replace(regions[i].begin, regions[i].Length(), regions[i].Length(), '#');
    }
  }
  return std::string(picture.size(), '-');
}

struct Example {
  const char* mask;
  const char* narrowed;
};

class AnalysisMaskExample : public testing::TestWithParam<Example> {};

TEST_P(AnalysisMaskExample, KeepsOneRegion) {
  EXPECT_EQ(Narrowed(Mask(GetParam().mask)), Mask(GetParam().narrowed));
}

INSTANTIATE_TEST_SUITE_P(
    AnalysisMask, AnalysisMaskExample,
    testing::Values(Example{"##############", "##############"}, Example{"--------------", "--------------"},
                    Example{"###-----------", "--------------"}, Example{"####----------", "####----------"},
                    Example{"######----####", "######--------"}, Example{"######-##-####", "----------####"},
                    Example{"####-####-----", "-----####-----"}, Example{"####------####", "----------####"},
                    Example{"-------------#", "--------------"}, Example{"-----------###", "--------------"},
                    Example{"#####-####-###", "#####---------"}, Example{"-############-", "-############-"},
                    Example{"#-#-#-#-#-####", "----------####"}));

TEST(AnalysisMask, FollowsTheRuleForEveryMask) {
  const dbi::RunHistory run(13000, "Birch");
  for (int mask = 0; mask <= kAllGood; ++mask) {
    const std::string picture = run.DiBlockMaskToString(mask);
    ASSERT_EQ(Mask(picture), mask);
    ASSERT_EQ(run.DiBlockMaskToString(run.ApplyAnalysisDiBlockMask(mask)), NarrowedPicture(picture))
        << picture;
  }
}

TEST(AnalysisMask, IgnoresAndClearsWhatLiesBeyondTheLastDiBlock) {
  EXPECT_EQ(Narrowed(0xFFFF), kAllGood);
  EXPECT_EQ(Narrowed(0x1FFFF), kAllGood);
  EXPECT_EQ(Narrowed(-1), kAllGood);
  EXPECT_EQ(Narrowed(~kAllGood), 0);
  EXPECT_EQ(Narrowed(0x1E000), 0) << "diblock 14 alone, though 15 to 17 follow";
  EXPECT_EQ(Narrowed(~0x3FC0), Mask("######"));
}

}  // namespace
}  // namespace brio::test
