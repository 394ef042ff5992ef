#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "RunHistory/RunHistory.h"
#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

struct Counted {
  int number;
  int boards;
};

/// A run that is loaded already, with these diblocks.
RunHistory RunWith(const std::string& detector, const std::vector<Counted>& diblocks) {
  RunHistory run(13000, detector);
  Peer::SetLoaded(run, true, true, true, true);
  for (const auto& [number, boards] : diblocks) {
    RunHistory::DiBlock diblock(12);
    diblock.number = static_cast<std::uint16_t>(number);
    diblock.nInstrumentedFEBs = boards;
    Peer::DiBlocks(run).push_back(diblock);
  }
  return run;
}

TEST(SortDiBlocks, ComparesNumbersAsSigned16Bits) {
  RunHistory::DiBlock a(1);
  RunHistory::DiBlock b(1);
  const auto comesBefore = [&](int first, int second) {
    a.number = static_cast<std::uint16_t>(first);
    b.number = static_cast<std::uint16_t>(second);
    return dbi::SortDiBlocks(a, b);
  };
  EXPECT_TRUE(comesBefore(1, 2));
  EXPECT_FALSE(comesBefore(2, 1));
  EXPECT_FALSE(comesBefore(2, 2));
  EXPECT_TRUE(comesBefore(65535, 1));
  EXPECT_TRUE(comesBefore(32768, 0));
  EXPECT_TRUE(comesBefore(0, 32767));
}

struct FullyInstrumented {
  const char* detector;
  int diblock;
  int boards;
  bool expected;
};

class IsDiBlockFullyInstrumented : public testing::TestWithParam<FullyInstrumented> {};

TEST_P(IsDiBlockFullyInstrumented, AsksForEnoughBoards) {
  auto run = RunWith(GetParam().detector, {{GetParam().diblock, GetParam().boards}});
  EXPECT_EQ(run.IsDiBlockFullyInstrumented(GetParam().diblock), GetParam().expected);
  EXPECT_FALSE(run.IsDiBlockFullyInstrumented(GetParam().diblock + 1)) << "a diblock that there is not";
}

INSTANTIATE_TEST_SUITE_P(
    DiBlockQueries, IsDiBlockFullyInstrumented,
    testing::Values(FullyInstrumented{"Birch", 1, 700, true}, FullyInstrumented{"Birch", 1, 699, false},
                    FullyInstrumented{"Birch", 14, 768, true}, FullyInstrumented{"Birch", 99, 700, true},
                    FullyInstrumented{"Alder", 1, 175, true}, FullyInstrumented{"Alder", 1, 174, false},
                    FullyInstrumented{"Alder", 3, 175, true}, FullyInstrumented{"Alder", 3, 174, false},
                    FullyInstrumented{"Alder", 4, 45, true}, FullyInstrumented{"Alder", 4, 44, false},
                    FullyInstrumented{"Alder", 4, 174, true}, FullyInstrumented{"Alder", 5, 1000, false},
                    FullyInstrumented{"Alder", 0, 175, true}, FullyInstrumented{"Alder", 0, 174, false},
                    FullyInstrumented{"Cedar", 1, 768, false}, FullyInstrumented{"Damson", 1, 768, false},
                    FullyInstrumented{"Elder", 1, 768, false}, FullyInstrumented{"Fenwick", 4, 768, false}));

TEST(IsDiBlockFullyInstrumentedTest, LooksAtTheFirstDiBlockOfTheNumber) {
  EXPECT_TRUE(RunWith("Birch", {{3, 700}, {3, 0}}).IsDiBlockFullyInstrumented(3));
  EXPECT_FALSE(RunWith("Birch", {{3, 0}, {3, 700}}).IsDiBlockFullyInstrumented(3));
}

struct Configuration {
  const char* detector;
  std::vector<Counted> diblocks;
  unsigned int expected;
};

class GetConfiguration : public testing::TestWithParam<Configuration> {};

TEST_P(GetConfiguration, MarksFullDiBlocks) {
  EXPECT_EQ(RunWith(GetParam().detector, GetParam().diblocks).GetConfiguration(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    DiBlockQueries, GetConfiguration,
    testing::Values(
        Configuration{"Birch", {}, 0U}, Configuration{"Birch", {{1, 699}, {2, 700}}, 2U},
        Configuration{"Birch", {{1, 700}, {14, 700}}, 0x2001U},
        Configuration{"Birch", {{0, 768}, {15, 768}, {33, 768}, {65535, 768}}, 0U},
        Configuration{"Birch", {{1, 768}, {2, 768}, {3, 768}, {5, 768}}, 0x17U},
        Configuration{"Alder", {}, 0U}, Configuration{"Alder", {{1, 192}, {2, 192}, {3, 192}, {4, 53}}, 15U},
        Configuration{"Alder", {{1, 175}, {2, 174}, {3, 175}, {4, 45}}, 13U},
        Configuration{"Alder", {{1, 175}, {2, 175}, {3, 175}, {4, 44}}, 7U},
        // The near detector's thresholds go by position: a muon catcher in front of position 3 needs 175.
        Configuration{"Alder", {{4, 50}}, 0U}, Configuration{"Alder", {{4, 175}}, 8U},
        Configuration{"Alder", {{1, 192}, {2, 192}, {4, 53}}, 3U},
        Configuration{"Alder", {{0, 192}, {1, 192}, {2, 192}, {3, 45}}, 7U},
        Configuration{"Alder", {{1, 192}, {2, 192}, {3, 192}, {4, 53}, {5, 192}}, 15U},
        Configuration{"Alder", {{0, 192}, {1, 192}, {2, 192}, {3, 192}, {4, 192}}, 7U},
        Configuration{"Alder", {{5, 192}, {6, 192}}, 0U}, Configuration{"Cedar", {{1, 768}, {2, 768}}, 0U},
        Configuration{"Fenwick", {{1, 768}}, 0U}));

TEST(GetConfigurationTest, OfAFullFarDetectorHasFourteenBits) {
  std::vector<Counted> diblocks;
  for (int number = 1; number <= 14; ++number) {
    diblocks.push_back({number, 768});
  }
  EXPECT_EQ(RunWith("Birch", diblocks).GetConfiguration(), 16383U);
}

TEST(GetDiBlock, GivesACopyByPosition) {
  auto run = RunWith("Birch", {{5, 1}, {9, 2}});
  auto diblock = run.GetDiBlock(1, false);
  EXPECT_EQ(diblock.number, 9);
  EXPECT_EQ(diblock.nInstrumentedFEBs, 2);
  ASSERT_EQ(diblock.dcms.size(), 12U);
  diblock.dcms[0].appName = "changed";
  EXPECT_EQ(run.GetDiBlocks()[1].dcms[0].appName, "");
  EXPECT_EQ(run.GetDiBlock(0, true).number, 5);
}

TEST(GetDiBlock, ThrowsForAPositionThatThereIsNot) {
  auto run = RunWith("Birch", {{5, 1}, {9, 2}});
  for (const int position : {2, 3, 1000000, -1}) {
    EXPECT_THROW(run.GetDiBlock(position, false), std::runtime_error) << position;
    EXPECT_EQ(ThrownBy([&] { run.GetDiBlock(position, true); }), "RunHistory::GetDiBlock: invalid diblock!");
  }
  EXPECT_EQ(ThrownBy([&] { RunWith("Birch", {}).GetDiBlock(0, false); }),
            "RunHistory::GetDiBlock: invalid diblock!");
}

TEST(HasAPD, OfADiBlockWithoutHardwareIsFalseBeforeTheMaskIsLoaded) {
  auto run = RunWith("Birch", {{5, 1}});
  Peer::DiBlocks(run)[0].isActive = true;
  run.SetUseGoodDiBlockMask(true);
  const auto channel =
      daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch)->encodeDChan(2, 5, 1, 0, 0);
  const auto activity = ActivityOf([&] { EXPECT_FALSE(run.HasAPD(channel)); });
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_FALSE(Peer::LoadedFlags(run).mask);
}

TEST(NLiveDCMs, CountsActiveDCMsOfAllDiBlocks) {
  auto run = RunWith("Birch", {{1, 0}, {2, 0}});
  EXPECT_EQ(run.NLiveDCMs(), 0U);
  Peer::DiBlocks(run)[0].dcms[0].isActive = true;
  Peer::DiBlocks(run)[0].dcms[11].isActive = true;
  Peer::DiBlocks(run)[1].dcms[5].isActive = true;
  EXPECT_EQ(run.NLiveDCMs(), 3U);
  Peer::NDCMs(run) = 8;
  EXPECT_EQ(run.NDCMs(), 8U);
  EXPECT_EQ(run.NLiveDCMs(), 3U);
}

TEST(NAnalysisChannels, CountsTheBoardsOfGoodDiBlocksOnce) {
  auto run = RunWith("Birch", {{1, 10}, {2, 20}, {3, 30}});
  EXPECT_EQ(run.NAnalysisChannels(), 60 * 32);
  Peer::DiBlocks(run)[0].nInstrumentedFEBs = 0;
  EXPECT_EQ(run.NAnalysisChannels(), 60 * 32);

  auto masked = RunWith("Birch", {{1, 10}, {2, 20}, {3, 30}});
  masked.SetUseGoodDiBlockMask(true);
  masked.SetUseCustomMask(true);
  masked.SetCustomDiBlockMask(5);
  ActivityOf([&] { EXPECT_EQ(masked.NAnalysisChannels(), 40 * 32); });
}

}  // namespace
}  // namespace brio::test
