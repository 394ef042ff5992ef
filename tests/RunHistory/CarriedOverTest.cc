#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kNextRun = RunDatabase::kRun + 1;

/// Two runs with two DCMs and an event builder each.
struct CarriedOver : testing::Test {
  CarriedOver() {
    for (const int number : {RunDatabase::kRun, kNextRun}) {
      database.AddRun(number);
      database.AddDCM("dcm-2-01-01", number);
      database.AddDCM("dcm-2-02-01", number);
      database.AddBNEVB("bnevb-001", number);
    }
  }
  RunDatabase database;
};

TEST_F(CarriedOver, AReloadAppendsTheEventBuildersAgain) {
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.InvalidateCaches();
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_THAT(run.GetSubruns(), SizeIs(3));
  EXPECT_EQ(Peer::NDCMs(run), 2U);
  EXPECT_EQ(run.NActiveChannels(), 0);
  run.LoadDAQRunHistory();
  EXPECT_THAT(run.GetBNEVBs(), SizeIs(2));
  EXPECT_THAT(run.GetDiBlocks(), SizeIs(2));
  EXPECT_THAT(run.GetSubruns(), SizeIs(3));
  EXPECT_EQ(Peer::NDCMs(run), 2U) << "the count of DCMs begins anew";
  run.SetRunNumber(kNextRun);
  run.LoadDAQRunHistory();
  EXPECT_THAT(run.GetBNEVBs(), SizeIs(3));
}

TEST_F(CarriedOver, WhatTheNextRunLacksIsThatOfTheRunBefore) {
  database.Execute(
      "UPDATE daq.runs SET tstart = NULL, tstop = NULL, configid = NULL, nsubruns = NULL, "
      "nactivechan = NULL, partition = NULL, runtype = NULL WHERE run = 13001");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetRunNumber(kNextRun);
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.TStartAsString(), "2016-03-01 03:00:00");
  EXPECT_EQ(run.TStopAsString(), "2016-03-01 11:50:00");
  EXPECT_EQ(run.GetConfigId(), 1003);
  EXPECT_EQ(run.NSubruns(), 3);
  EXPECT_THAT(run.GetSubruns(), SizeIs(3));
  EXPECT_EQ(run.GetPartition(), 1);
  EXPECT_EQ(run.GetRunType(), "Physics");
  EXPECT_EQ(run.NActiveChannels(), 0) << "a counter, so forgotten";
}

TEST_F(CarriedOver, TheSubrunsTimesBeginAnewWithEachRun) {
  database.Execute("UPDATE daq.runs SET nsubruns = 5 WHERE run = 13001");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  Peer::Subruns(run)[1] = {111, 112};
  run.SetRunNumber(kNextRun);
  run.LoadDAQRunHistory();
  ASSERT_THAT(run.GetSubruns(), SizeIs(5));
  EXPECT_EQ(run.GetSubruns()[1].tStart, 0);
  EXPECT_EQ(run.GetSubruns()[1].tStop, 0);
}

TEST_F(CarriedOver, AMissingRunAnswersTheTimesOfTheRunBefore) {
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetRunNumber(14999);
  ActivityOf([&] {
    EXPECT_EQ(run.TStart(), 1456801200);
    EXPECT_EQ(run.TStop(), 1456833000);
    EXPECT_EQ(run.NDCMs(), 0U) << "set to 0 before the run was looked for";
  });
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_EQ(run.NActiveChannels(), 0);
}

TEST_F(CarriedOver, ASimulatedRunAfterARealOneKeepsWhatItDoesNotSet) {
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetRunNumber(1000000);
  ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(run.NSubruns(), 64);
  EXPECT_THAT(run.GetSubruns(), SizeIs(3));
  EXPECT_THAT(run.GetBNEVBs(), SizeIs(1));
  EXPECT_EQ(run.NDCMs(), 2U);
  EXPECT_EQ(run.NLiveDCMs(), 168U);
  EXPECT_EQ(run.TStartAsString(), "2016-03-01 03:00:00");
  EXPECT_EQ(run.GetConfigId(), 1003);
  EXPECT_EQ(run.GetRunType(), "Physics");
  EXPECT_EQ(run.SubrunTStart(2), 0);
  EXPECT_EQ(run.SubrunTStop(40), 0);
}

TEST_F(CarriedOver, ARealRunAfterASimulatedOneIsItself) {
  RunHistory run(1000000, "Birch");
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  run.SetRunNumber(RunDatabase::kRun);
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_FALSE(run.IsMC());
  EXPECT_EQ(run.NSubruns(), 3);
  EXPECT_THAT(run.GetDiBlocks(), SizeIs(2));
  EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
}

TEST_F(CarriedOver, ANewDetectorStartsAgain) {
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetDetector("Cedar");
  EXPECT_FALSE(Peer::LoadedFlags(run).daq);
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(activity.statements, 2);
}

TEST_F(CarriedOver, AMaskPutOutOfUseByASimulatedRunStaysOutOfUse) {
  database.AddMask("1", "'2017-01-01'", kNextRun);
  RunHistory run(1000000, "Birch");
  run.SetUseGoodDiBlockMask(true);
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  run.SetRunNumber(kNextRun);
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(run.GetDiBlocks(), SizeIs(2)) << "diblock 2 too, which the mask leaves out";
  run.InvalidateCaches();
  run.SetUseGoodDiBlockMask(true);
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(run.GetDiBlocks(), SizeIs(1));
}

TEST_F(CarriedOver, AnalysisChannelsAreCountedOnceForEachRun) {
  database.AddFarModule(1, 1, 0);
  auto run = database.Run();
  const auto first = ActivityOf([&] { EXPECT_EQ(run.NAnalysisChannels(), 32); });
  EXPECT_EQ(first.connections, 1);
  EXPECT_EQ(first.statements, 3);
  const auto second = ActivityOf([&] { EXPECT_EQ(run.NAnalysisChannels(), 32); });
  EXPECT_EQ(second.attempts, 0);
  EXPECT_EQ(second.output, "");
  run.SetRunNumber(kNextRun);
  const auto next = ActivityOf([&] { EXPECT_EQ(run.NAnalysisChannels(), 32); });
  EXPECT_EQ(next.statements, 3);
  EXPECT_TRUE(database.IsLeft());
}

TEST_F(CarriedOver, PotOfASimulatedRunIsAskedForUntilTheRunWasBuilt) {
  RunHistory run(1000000, "Birch");
  const auto before = ActivityOf([&] { EXPECT_FALSE(run.LoadPOT()); });
  EXPECT_EQ(before.error, "RunHistory::LoadPOT(): No POT info found for run 1000000\n");
  EXPECT_EQ(before.output, "");
  EXPECT_EQ(before.statements, 1);
  EXPECT_TRUE(database.IsLeft());
  ActivityOf([&] { run.LoadDAQRunHistory(); });
  const auto after = ActivityOf([&] { EXPECT_TRUE(run.LoadPOT()); });
  EXPECT_EQ(after.attempts, 0);
  EXPECT_EQ(after.error, "");
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
}

}  // namespace
}  // namespace brio::test
