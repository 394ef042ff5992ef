#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>

#include "RunHistory/RunHistory.h"
#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRun = 1000000;

/// Points the library at a server that does not exist, so that a connection attempt could only fail.
struct SimulatedRun : testing::Test {
  EnvironmentVariable database{"BRIO_DATABASE", "host=/nonexistent dbname=none connect_timeout=2"};
  CapturedMessages messages;
};

std::vector<int> Numbers(const RunHistory& run) {
  std::vector<int> numbers;
  for (const auto& diblock : run.GetDiBlocks()) {
    numbers.push_back(diblock.number);
  }
  return numbers;
}

std::vector<std::size_t> Boards(const RunHistory::DiBlock& diblock) {
  std::vector<std::size_t> boards;
  for (const auto& dcm : diblock.dcms) {
    EXPECT_EQ(dcm.nInstrumentedFEBs, static_cast<int>(dcm.febs.size()));
    boards.push_back(dcm.febs.size());
  }
  return boards;
}

struct SimulatedNumber : SimulatedRun, testing::WithParamInterface<int> {};

TEST_P(SimulatedNumber, IsBuiltWithoutADatabase) {
  RunHistory run(GetParam(), "Birch");
  bool loaded = false;
  const auto activity = ActivityOf([&] { loaded = run.LoadDAQRunHistory(); });
  EXPECT_TRUE(loaded);
  EXPECT_TRUE(run.IsMC());
  EXPECT_EQ(run.GetDiBlocks().size(), 14U);
  EXPECT_EQ(activity.output, kSimulatedLine);
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.attempts, 0);
  const auto again = ActivityOf([&] { loaded = run.LoadDAQRunHistory(); });
  EXPECT_TRUE(loaded);
  EXPECT_EQ(again.output, "");
  EXPECT_EQ(run.GetDiBlocks().size(), 14U);
}

INSTANTIATE_TEST_SUITE_P(RunNumbers, SimulatedNumber,
                         testing::Values(INT_MIN, -1, 0, 1, 9998, 9999, 1000000, 1000001, INT_MAX));

struct DataNumber : SimulatedRun, testing::WithParamInterface<int> {};

TEST_P(DataNumber, IsLookedUpInTheDatabase) {
  RunHistory run(GetParam(), "Birch");
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
  EXPECT_EQ(thrown, "RunHistory::FailedLoadRuns|LoadDAQRunHistory: failed to load the runs table.\n");
  EXPECT_FALSE(run.IsMC());
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.attempts, 1);
}

INSTANTIATE_TEST_SUITE_P(RunNumbers, DataNumber, testing::Values(10000, 10001, 999998, 999999));

TEST_F(SimulatedRun, OfTheFarDetectorIsPerfect) {
  RunHistory run(kRun, "Birch");
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  EXPECT_THAT(Numbers(run), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14));
  for (const auto& diblock : run.GetDiBlocks()) {
    EXPECT_FALSE(diblock.isActive);
    EXPECT_EQ(diblock.nInstrumentedFEBs, 768);
    EXPECT_EQ(Boards(diblock), std::vector<std::size_t>(12, 64));
    EXPECT_TRUE(run.IsDiBlockFullyInstrumented(diblock.number));
    for (std::size_t c = 0; c < diblock.dcms.size(); ++c) {
      EXPECT_TRUE(diblock.dcms[c].isActive);
      EXPECT_EQ(diblock.dcms[c].diBlock, diblock.number);
      EXPECT_EQ(diblock.dcms[c].number, c + 1);
      EXPECT_EQ(diblock.dcms[c].appName, "");
    }
  }
  EXPECT_EQ(run.GetConfiguration(), 16383U);
  EXPECT_EQ(run.NAnalysisChannels(), 344064);
  EXPECT_EQ(run.NLiveDCMs(), 168U);
}

TEST_F(SimulatedRun, OfTheNearDetectorIsPerfect) {
  RunHistory run(kRun, "Alder");
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  ASSERT_THAT(Numbers(run), ElementsAre(1, 2, 3, 4));
  for (int d = 1; d <= 3; ++d) {
    const auto& diblock = run.GetDiBlocks()[static_cast<std::size_t>(d) - 1];
    EXPECT_EQ(diblock.nInstrumentedFEBs, 192);
    EXPECT_THAT(Boards(diblock), ElementsAre(32, 64, 64, 32));
    EXPECT_TRUE(run.IsDiBlockFullyInstrumented(d));
  }
  EXPECT_EQ(run.GetDiBlocks()[3].nInstrumentedFEBs, 53);
  EXPECT_THAT(Boards(run.GetDiBlocks()[3]), ElementsAre(31, 22));
  EXPECT_TRUE(run.IsDiBlockFullyInstrumented(4));
  EXPECT_EQ(run.GetConfiguration(), 15U);
}

TEST_F(SimulatedRun, OfAnotherDetectorHasTheFarDetectorsShape) {
  for (const char* detector : {"Cedar", "Damson", "Elder", "Fenwick"}) {
    RunHistory run(kRun, detector);
    ActivityOf([&] { run.LoadDAQRunHistory(); });
    ASSERT_EQ(run.GetDiBlocks().size(), 14U) << detector;
    EXPECT_EQ(Boards(run.GetDiBlocks()[13]), std::vector<std::size_t>(12, 64)) << detector;
    EXPECT_FALSE(run.IsDiBlockFullyInstrumented(1)) << detector;
    EXPECT_EQ(run.GetConfiguration(), 0U) << detector;
  }
  RunHistory unknown;
  ActivityOf([&] { EXPECT_TRUE(unknown.LoadDAQRunHistory()); });
  EXPECT_EQ(unknown.GetDiBlocks().size(), 14U);
}

TEST_F(SimulatedRun, LeavesEverythingElseAtItsDefault) {
  RunHistory run(kRun, "Birch");
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  const Peer::Flags expected{true, true, true, true, true, true, false, false, false, false};
  EXPECT_EQ(Peer::LoadedFlags(run), expected) << "all but mask, data quality, missing run, analysis channels";
  EXPECT_EQ(run.NSubruns(), 64);
  EXPECT_EQ(Peer::NDCMs(run), 0U);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_THAT(run.GetSubruns(), IsEmpty());
  EXPECT_THAT(run.GetBNEVBs(), IsEmpty());
  EXPECT_EQ(run.TStartAsString(), "2010-01-01 00:00:00");
  EXPECT_EQ(run.TStopAsString(), "");
  const auto& feb = run.GetDiBlocks()[0].dcms[0].febs[0];
  EXPECT_FALSE(feb.isInstalled);
  EXPECT_FALSE(feb.isEnabled);
  EXPECT_EQ(feb.temperature, -100.0F);
  EXPECT_THAT(feb.pixelGains, Each(100.0F));
}

TEST_F(SimulatedRun, AnswersSubrunTimesWithoutRecords) {
  RunHistory run(kRun, "Birch");
  ActivityOf([&] { EXPECT_EQ(run.SubrunTStart(0), 1262304000); });
  EXPECT_EQ(run.SubrunTStart(5), 0);
  EXPECT_EQ(run.SubrunTStop(5), 0);
  EXPECT_EQ(run.SubrunTStart(64), 0);
  EXPECT_EQ(run.SubrunTStop(63), 946684800);
  EXPECT_EQ(run.SubrunTStop(64), 0);
}

TEST_F(SimulatedRun, LacksTheDiBlocksThatTheCustomMaskLeavesOut) {
  RunHistory run(kRun, "Birch");
  run.SetUseGoodDiBlockMask(true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0x2005);
  const auto activity = ActivityOf([&] { run.LoadDAQRunHistory(); });
  EXPECT_THAT(Numbers(run), ElementsAre(1, 3, 14));
  EXPECT_EQ(activity.output,
            std::string(kSimulatedLine) + "RunHistory: Applying custom mask: #-#----------#\n");
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  EXPECT_EQ(run.NAnalysisChannels(), 3 * 768 * 32);
}

TEST_F(SimulatedRun, OfTheFarDetectorTakesEveryDiBlockAsGood) {
  RunHistory run(kRun, "Birch");
  run.SetUseGoodDiBlockMask(true);
  run.SetApplyAnalysisMask(true);
  run.SetAbortIfNoMask(true);
  const auto activity = ActivityOf([&] { run.LoadDAQRunHistory(); });
  EXPECT_EQ(run.GetDiBlocks().size(), 14U);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0x1FFFF);
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
  EXPECT_EQ(activity.output, kSimulatedLine);
  EXPECT_EQ(activity.attempts, 0);
}

TEST_F(SimulatedRun, OfTheNearDetectorLosesItsFirstDiBlockToTheFirstMaskAnswer) {
  RunHistory run(kRun, "Alder");
  run.SetUseGoodDiBlockMask(true);
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  EXPECT_THAT(Numbers(run), ElementsAre(2, 3, 4));
  EXPECT_THAT(Boards(run.GetDiBlocks()[2]), ElementsAre(31, 22));
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
}

/// The first question that a client asks of a fresh simulated run.
struct FirstQuestion {
  const char* name;
  void (*ask)(RunHistory&);
};

unsigned int Channel() { return daqchannelmap::DAQChannelMap::getInstance(2)->encodeDChan(2, 1, 1, 0, 0); }

const FirstQuestion kQuestions[] = {
    {"NDCMs", [](RunHistory& run) { EXPECT_EQ(run.NDCMs(), 0U); }},
    {"NLiveDCMs", [](RunHistory& run) { EXPECT_EQ(run.NLiveDCMs(), 168U); }},
    {"GetConfiguration", [](RunHistory& run) { EXPECT_EQ(run.GetConfiguration(), 16383U); }},
    {"NAnalysisChannels", [](RunHistory& run) { EXPECT_EQ(run.NAnalysisChannels(), 344064); }},
    {"GetDiBlock", [](RunHistory& run) { EXPECT_EQ(run.GetDiBlock(13, true).number, 14); }},
    {"LoadHardwareInfo", [](RunHistory& run) { EXPECT_TRUE(run.LoadHardwareInfo()); }},
    {"LoadPixelInfo", [](RunHistory& run) { EXPECT_TRUE(run.LoadPixelInfo(0)); }},
    {"LoadAPDSettings", [](RunHistory& run) { EXPECT_TRUE(run.LoadAPDSettings()); }},
    {"LoadAllDetInfo", [](RunHistory& run) { EXPECT_TRUE(run.LoadAllDetInfo()); }},
    {"HasAPD", [](RunHistory& run) { EXPECT_TRUE(run.HasAPD(Channel())); }},
    {"GetThreshold",
     [](RunHistory& run) {
       bool ok = true;
       EXPECT_EQ(run.GetThreshold(Channel(), ok), 4095);
       EXPECT_FALSE(ok);
     }},
    {"GetFEB",
     [](RunHistory& run) {
       bool ok = true;
       EXPECT_FALSE(run.GetFEB(Channel(), ok).isInstalled);
       EXPECT_FALSE(ok);
     }},
};

struct FirstQuestionOfASimulatedRun : SimulatedRun, testing::WithParamInterface<FirstQuestion> {};

TEST_P(FirstQuestionOfASimulatedRun, OpensNothingSaysNothingAndResetsNothing) {
  const EnvironmentVariable daqEnvironment("BRIODAQ_ENVIRONMENT", "as it was");
  RunHistory run(kRun, "Birch");
  Peer::NTotalChannels(run) = 77;
  Peer::NEnabledFEBs(run) = 78;
  Peer::NInstrumentedFEBs(run) = 79;
  const auto activity = ActivityOf([&] { GetParam().ask(run); });
  EXPECT_EQ(activity.output, kSimulatedLine);
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_EQ(run.NTotalChannels(), 77);
  EXPECT_EQ(run.NEnabledFEBs(), 78);
  EXPECT_EQ(run.NInstrumentedFEBs(), 79);
  EXPECT_STREQ(std::getenv("BRIODAQ_ENVIRONMENT"), "as it was");
  EXPECT_THAT(messages.All(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Questions, FirstQuestionOfASimulatedRun, testing::ValuesIn(kQuestions),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(SimulatedRun, CountsAsCooledOnceItWasBuilt) {
  RunHistory run(kRun, "Birch");
  EXPECT_FALSE(run.LoadCoolingInfo());
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  EXPECT_TRUE(run.LoadCoolingInfo());
  EXPECT_FALSE(run.LoadDCSAlarms(0));
}

}  // namespace
}  // namespace brio::test
