#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::StartsWith;

/// The sample, in which each detector has one database.
struct SampleRun : testing::Test {
  EnvironmentVariable database{"BRIO_DATABASE", server::Template("small")};
  CapturedMessages messages;
};

constexpr const char* kWholeOutput =
    "RunHistory: Loading FEB and APD installation information\n"
    "RunHistory: loading pixel enable masks\n"
    "RunHistory: loading pixel thresholds\n"
    "done!\n";

TEST_F(SampleRun, OfTheNearDetectorIsLoadedWholeThroughOneConnection) {
  RunHistory run(11000, "Alder");
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadAllDetInfo()); });
  EXPECT_THAT(activity.output, StartsWith(kWholeOutput));
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.transactions, 1);
  EXPECT_EQ(activity.statements, 6) << "runs, resources, hardware, masks, thresholds, slow controls";
  const auto again = ActivityOf([&] { EXPECT_TRUE(run.LoadAllDetInfo()); });
  EXPECT_EQ(again.attempts, 0);
  EXPECT_EQ(again.output + again.error, "");
  const Peer::Flags loaded{true, true, true, true, false, false, false, false, false, false};
  EXPECT_EQ(Peer::LoadedFlags(run), loaded) << "cooling, POT, mask and data quality load on their own";
}

TEST_F(SampleRun, OfTheFarDetectorIsLoadedWholeThroughOneConnection) {
  RunHistory run(13000, "Birch");
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadAllDetInfo()); });
  EXPECT_THAT(activity.output, StartsWith(kWholeOutput));
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.transactions, 1);
  EXPECT_EQ(activity.statements, 10) << "and four on APDs, boards and cables";
  const auto again = ActivityOf([&] { EXPECT_TRUE(run.LoadAllDetInfo()); });
  EXPECT_EQ(again.attempts, 0);
}

TEST_F(SampleRun, ThatIsMissingAsksForNothingElse) {
  RunHistory run(14999, "Birch");
  const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadAllDetInfo()); });
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.error, "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
  EXPECT_EQ(activity.statements, 1);
  const Peer::Flags missing{false, false, false, false, false, false, false, false, true, false};
  EXPECT_EQ(Peer::LoadedFlags(run), missing);
}

TEST_F(SampleRun, WithoutAConfigurationIsNotAskedForItsAPDSettings) {
  RunHistory run(13015, "Birch");
  const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadAllDetInfo()); });
  EXPECT_EQ(activity.output, kWholeOutput);
  EXPECT_TRUE(Peer::LoadedFlags(run).hardware);
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
}

TEST_F(SampleRun, WithoutResourcesThrowsThroughEveryCaller) {
  RunHistory run(13006, "Birch");
  const std::string expected = "RunHistory::NoRsrcs|LoadDAQRunHistory: no resources found for run 13006\n";
  EXPECT_EQ(ThrownBy([&] { run.LoadAllDetInfo(); }), expected);
  EXPECT_EQ(ThrownBy([&] { run.NDCMs(); }), expected);
  EXPECT_EQ(ThrownBy([&] { run.NAnalysisChannels(); }), expected);
  EXPECT_EQ(ThrownBy([&] { run.GetDiBlock(0, false); }), expected);
  EXPECT_EQ(ThrownBy([&] { run.TStop(); }), expected);
}

TEST_F(SampleRun, WithOnlyTheMuonCatcherIsFullByNumberAndNotByPosition) {
  RunHistory run(11002, "Alder");
  ActivityOf([&] {
    EXPECT_EQ(run.GetConfiguration(), 0U);
    EXPECT_TRUE(run.IsDiBlockFullyInstrumented(4));
  });
  ASSERT_EQ(run.GetDiBlocks().size(), 1U);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 50);
}

TEST_F(SampleRun, OfADetectorWithoutAHardwareStatementLoadsWithNothingMarked) {
  RunHistory run(12000, "Cedar");
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 2);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(run.NLiveDCMs(), 4U);
  for (const auto& diblock : run.GetDiBlocks()) {
    EXPECT_TRUE(diblock.isActive);
  }
}

TEST_F(SampleRun, AnswersDefaultsForChannelsOfADetectorWhoseHardwareIsNotRead) {
  RunHistory run(12000, "Cedar");
  const unsigned int channel = daqchannelmap::DAQChannelMap::getInstance(3)->encodeDChan(3, 1, 1, 0, 0);
  ActivityOf([&] {
    bool ok = true;
    EXPECT_FALSE(run.HasAPD(channel));
    EXPECT_EQ(run.GetThreshold(channel, ok), 4095);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(run.GetFEB(channel, ok).thresholds.size(), 0U);
    EXPECT_FALSE(ok);
  });
}

TEST_F(SampleRun, IsRefusedAPositionBeforeTheRestIsLoaded) {
  RunHistory run(11000, "Alder");
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.GetDiBlock(4, true); }); });
  EXPECT_EQ(thrown, "RunHistory::GetDiBlock: invalid diblock!");
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.statements, 3);
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
  const auto whole = ActivityOf([&] { EXPECT_TRUE(run.GetDiBlock(3, true).dcms[0].febs[0].isEnabled); });
  EXPECT_EQ(whole.connections, 1);
  EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
}

}  // namespace
}  // namespace brio::test
