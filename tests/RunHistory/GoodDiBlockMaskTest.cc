#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kAllGood = 0x1FFFF;

/// What can be answered without a mask table: the server named here does not exist.
struct GoodDiBlockMask : testing::Test {
  EnvironmentVariable database{"BRIO_DATABASE", "host=/nonexistent dbname=none connect_timeout=2"};
  CapturedMessages messages;
};

RunHistory MaskedRun(int number, const std::string& detector) {
  RunHistory run(number, detector);
  run.SetUseGoodDiBlockMask(true);
  return run;
}

Activity LoadOf(RunHistory& run) {
  return ActivityOf([&] { EXPECT_TRUE(run.LoadGoodDiBlockMask()); });
}

void ExpectSilent(const Activity& activity) {
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.attempts, 0);
}

TEST_F(GoodDiBlockMask, NotInUseTakesEveryDiBlockAsGoodWithoutLoading) {
  RunHistory run(13000, "Birch");
  ExpectSilent(ActivityOf([&] {
    for (const int diblock : {1, 14, 33, 0, -3, 1000}) {
      EXPECT_TRUE(run.IsGoodDiBlock(diblock)) << diblock;
    }
  }));
  EXPECT_FALSE(Peer::LoadedFlags(run).mask);
}

TEST_F(GoodDiBlockMask, SettledWhileNotInUseIsNotLoadedWhenItIsPutToUse) {
  RunHistory run(13000, "Birch");
  ExpectSilent(LoadOf(run));
  EXPECT_EQ(run.GetGoodDiBlockMask(), kAllGood);
  EXPECT_TRUE(Peer::LoadedFlags(run).mask);
  run.SetUseGoodDiBlockMask(true);
  ExpectSilent(ActivityOf([&] {
    EXPECT_TRUE(run.IsGoodDiBlock(1));
    EXPECT_TRUE(run.IsGoodDiBlock(17));
    EXPECT_FALSE(run.IsGoodDiBlock(18));
    EXPECT_FALSE(run.IsGoodDiBlock(32));
    EXPECT_TRUE(run.IsGoodDiBlock(33)) << "the bit of diblock 1";
    EXPECT_FALSE(run.IsGoodDiBlock(0));
    EXPECT_FALSE(run.IsGoodDiBlock(-3));
  }));
}

TEST_F(GoodDiBlockMask, OfTheNearDetectorIsZeroAndPutOutOfUse) {
  auto run = MaskedRun(11000, "Alder");
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(3);
  run.SetAbortIfNoMask(true);
  ExpectSilent(LoadOf(run));
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0) << "the custom mask is the far detector's";
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
  EXPECT_TRUE(run.IsGoodDiBlock(1));
}

TEST_F(GoodDiBlockMask, OfTheNearDetectorAnswersFalseTheFirstTimeOnly) {
  auto run = MaskedRun(11000, "Alder");
  ExpectSilent(ActivityOf([&] {
    EXPECT_FALSE(run.IsGoodDiBlock(1));
    EXPECT_TRUE(run.IsGoodDiBlock(1));
    EXPECT_TRUE(run.IsGoodDiBlock(0));
  }));
}

struct SimulatedMask : GoodDiBlockMask, testing::WithParamInterface<int> {};

TEST_P(SimulatedMask, IsAllGoodAndPutOutOfUse) {
  auto run = MaskedRun(GetParam(), "Birch");
  run.SetApplyAnalysisMask(true);
  run.SetAbortIfNoMask(true);
  ExpectSilent(LoadOf(run));
  EXPECT_EQ(run.GetGoodDiBlockMask(), kAllGood);
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
}

INSTANTIATE_TEST_SUITE_P(RunNumbers, SimulatedMask, testing::Values(-1, 0, 9999, 1000000));

TEST_F(GoodDiBlockMask, OfASimulatedRunAnswersTheFirstQuestionFromTheMask) {
  for (const auto& [diblock, first] :
       {std::pair{17, true}, {18, false}, {32, false}, {33, true}, {0, false}}) {
    auto run = MaskedRun(9999, "Birch");
    EXPECT_EQ(run.IsGoodDiBlock(diblock), first) << diblock;
    EXPECT_TRUE(run.IsGoodDiBlock(diblock)) << diblock;
  }
}

TEST_F(GoodDiBlockMask, OnceOutOfUseStaysSoForOtherRuns) {
  auto simulated = MaskedRun(9999, "Birch");
  simulated.LoadGoodDiBlockMask();
  simulated.SetRunNumber(13000);
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(simulated));
  ExpectSilent(ActivityOf([&] { EXPECT_TRUE(simulated.IsGoodDiBlock(20)); }));

  auto near = MaskedRun(11000, "Alder");
  near.LoadGoodDiBlockMask();
  near.SetRunNumber(11001);
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(near));
  EXPECT_TRUE(near.IsGoodDiBlock(1)) << "no first answer without the mask in use";
  near.SetDetector("Birch");
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(near));
}

struct CustomMask : GoodDiBlockMask, testing::WithParamInterface<int> {};

TEST_P(CustomMask, OfTheFarDetectorIsTakenAsItIs) {
  auto run = MaskedRun(GetParam(), "Birch");
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0x2005);
  run.SetApplyAnalysisMask(true);
  const auto activity = LoadOf(run);
  EXPECT_EQ(activity.output, "RunHistory: Applying custom mask: #-#----------#\n");
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0x2005);
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  ExpectSilent(ActivityOf([&] {
    EXPECT_TRUE(run.IsGoodDiBlock(1));
    EXPECT_FALSE(run.IsGoodDiBlock(2));
    EXPECT_TRUE(run.IsGoodDiBlock(14));
  }));
}

INSTANTIATE_TEST_SUITE_P(RunNumbers, CustomMask, testing::Values(13000, 9999, 1000000, -1));

TEST_F(GoodDiBlockMask, ACustomMaskOfZeroWarnsOfNothing) {
  auto run = MaskedRun(13000, "Birch");
  run.SetUseCustomMask(true);
  EXPECT_EQ(LoadOf(run).output, "RunHistory: Applying custom mask: --------------\n");
  EXPECT_FALSE(run.IsGoodDiBlock(1));
}

TEST_F(GoodDiBlockMask, ANegativeCustomMaskIsGoodThroughout) {
  auto run = MaskedRun(13000, "Birch");
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(-1);
  EXPECT_EQ(LoadOf(run).output, "RunHistory: Applying custom mask: ##############\n");
  EXPECT_TRUE(run.IsGoodDiBlock(32)) << "the sign bit";
}

TEST_F(GoodDiBlockMask, OfAnUnknownDetectorCannotBeLoaded) {
  RunHistory run(13000, briodaq::cnv::Unknown);
  run.SetUseGoodDiBlockMask(true);
  Peer::GoodDiBlockMask(run) = 99;
  ExpectSilent(ActivityOf([&] { EXPECT_FALSE(run.LoadGoodDiBlockMask()); }));
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
  EXPECT_FALSE(Peer::LoadedFlags(run).mask);
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  EXPECT_FALSE(run.IsGoodDiBlock(1));
  EXPECT_FALSE(run.IsGoodDiBlock(1)) << "asked again, to the same end";
  EXPECT_FALSE(Peer::LoadedFlags(run).mask);
}

TEST_F(GoodDiBlockMask, IsPicturedDiBlockOneFirst) {
  const RunHistory run;
  EXPECT_EQ(run.DiBlockMaskToString(0x2005), "#-#----------#");
  EXPECT_EQ(run.DiBlockMaskToString(0), "--------------");
  EXPECT_EQ(run.DiBlockMaskToString(0x3FFF), "##############");
  EXPECT_EQ(run.DiBlockMaskToString(-1), "##############");
  EXPECT_EQ(run.DiBlockMaskToString(~0x3FFF), "--------------");
  EXPECT_EQ(run.DiBlockMaskToString(2), "-#------------");
}

}  // namespace
}  // namespace brio::test
