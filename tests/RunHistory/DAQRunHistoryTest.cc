#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> ActiveNames(const RunHistory& run) {
  std::vector<std::string> names;
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { names.push_back(dcm.appName); }
    }
  }
  return names;
}

std::vector<std::string> BuilderNames(const RunHistory& run) {
  std::vector<std::string> names;
  for (const auto& builder : run.GetBNEVBs()) {
    names.push_back(builder.appName);
  }
  return names;
}

TEST(DAQRunHistory, HoldsTheRunsRow) {
  RunDatabase database;
  database.AddRun();
  database.AddRun(13001);
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(run.TStartAsString(), "2016-03-01 03:00:00");
  EXPECT_EQ(run.TStopAsString(), "2016-03-01 11:50:00");
  EXPECT_EQ(run.TStart(), 1456801200);
  EXPECT_EQ(run.TStop(), 1456833000);
  EXPECT_EQ(run.GetConfigId(), 1003);
  EXPECT_EQ(run.NSubruns(), 3);
  EXPECT_EQ(run.NActiveChannels(), 4096);
  EXPECT_EQ(run.GetPartition(), 1);
  EXPECT_EQ(run.GetRunType(), "Physics");
  ASSERT_EQ(run.GetSubruns().size(), 3U);
  EXPECT_EQ(run.GetSubruns()[1].tStart, 0);
  EXPECT_EQ(run.GetSubruns()[2].tStop, 0);
  EXPECT_FALSE(run.IsMC());
  EXPECT_EQ(activity.output + activity.error, "");
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 2);
  EXPECT_EQ(activity.transactions, 1);
  EXPECT_TRUE(database.IsLeft());
}

TEST(DAQRunHistory, IsLoadedOnce) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddBNEVB("bnevb-001");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  const auto again = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(again.attempts, 0);
  EXPECT_EQ(again.output + again.error, "");
  EXPECT_THAT(BuilderNames(run), ElementsAre("bnevb-001"));
}

TEST(DAQRunHistory, GroupsDCMsIntoDiBlocks) {
  RunDatabase database;
  database.AddRun();
  for (const char* name : {"dcm-2-10-12", "dcm-2-03-07", "dcm-2-03-01", "dcm-1-12-02"}) {
    database.AddDCM(name);
  }
  auto run = database.Run();
  run.LoadDAQRunHistory();
  ASSERT_EQ(run.GetDiBlocks().size(), 3U);
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-2-03-01", "dcm-2-03-07", "dcm-2-10-12", "dcm-1-12-02"))
      << "by diblock, though dcm-1-12-02 comes first by name";
  const auto& third = run.GetDiBlocks()[0];
  EXPECT_TRUE(third.isActive);
  EXPECT_EQ(third.number, 3);
  EXPECT_EQ(third.nInstrumentedFEBs, 0);
  ASSERT_EQ(third.dcms.size(), 12U);
  for (unsigned int i = 0; i < 12; ++i) {
    const auto& dcm = third.dcms[i];
    const bool active = i == 0 || i == 6;
    EXPECT_EQ(dcm.isActive, active);
    EXPECT_EQ(dcm.number, i + 1);
    EXPECT_EQ(dcm.diBlock, active ? 3 : 0xFFFF);
    ASSERT_EQ(dcm.febs.size(), active ? 64U : 0U);
    EXPECT_EQ(dcm.nInstrumentedFEBs, 0);
  }
  EXPECT_FALSE(third.dcms[0].febs[63].isInstalled);
  EXPECT_EQ(Peer::NDCMs(run), 4U);
}

TEST(DAQRunHistory, OfTheNearDetectorHasFourDCMsADiBlock) {
  RunDatabase database("Alder");
  database.AddRun();
  database.AddDCM("dcm-1-04-04");
  database.AddDCM("dcm-1-04-02");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  ASSERT_EQ(run.GetDiBlocks().size(), 1U);
  const auto& dcms = run.GetDiBlocks()[0].dcms;
  ASSERT_EQ(dcms.size(), 4U);
  for (unsigned int i = 0; i < 4; ++i) {
    EXPECT_EQ(dcms[i].number, i + 1);
    EXPECT_EQ(dcms[i].isActive, i == 1 || i == 3) << i;
  }
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-1-04-02", "dcm-1-04-04"));
}

TEST(DAQRunHistory, ListsEventBuildersInTheOrderOfTheirNames) {
  RunDatabase database;
  database.AddRun();
  for (const char* name : {"bnevb-003", "bnevb-001", "bnevb-002"}) {
    database.AddBNEVB(name);
  }
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(BuilderNames(run), ElementsAre("bnevb-001", "bnevb-002", "bnevb-003"));
  EXPECT_EQ(run.GetBNEVBs()[0].hostName, "");
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
}

TEST(DAQRunHistory, IgnoresOtherKindsOfResource) {
  RunDatabase database;
  database.AddRun();
  for (const char* type : {"NULL", "''", "'DCM'", "'dcm '", "'dcmapp'", "'BNEVB'", "'trigger'"}) {
    database.AddResource(type, "'dcm-2-01-01'", "'Birch'");
  }
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_THAT(run.GetBNEVBs(), IsEmpty());
  EXPECT_EQ(Peer::NDCMs(run), 0U);
}

class NamedDetectorOnly : public testing::TestWithParam<const char*> {};

TEST_P(NamedDetectorOnly, TakesRowsOfItsOwnName) {
  const std::string detector = GetParam();
  const std::string other = detector == "Birch" ? "'Alder'" : "'Birch'";
  RunDatabase database(detector);
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddBNEVB("bnevb-001");
  for (const std::string& name : {other, std::string("'birch'"), std::string("'alder'"), std::string("''"),
                                  std::string("NULL"), "'" + detector + " '"}) {
    database.AddResource("'dcm'", "'dcm-2-02-02'", name);
    database.AddResource("'bnevb'", "'bnevb-002'", name);
  }
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-2-01-01"));
  EXPECT_THAT(BuilderNames(run), ElementsAre("bnevb-001"));
  EXPECT_EQ(Peer::NDCMs(run), 1U) << "rows of another detector do not count";
}

INSTANTIATE_TEST_SUITE_P(Detectors, NamedDetectorOnly, testing::Values("Birch", "Alder"));

class AnyDetector : public testing::TestWithParam<const char*> {};

TEST_P(AnyDetector, TakesRowsOfEveryName) {
  RunDatabase database(GetParam());
  database.AddRun();
  database.AddResource("'dcm'", "'dcm-3-01-01'", "'Birch'");
  database.AddResource("'dcm'", "'dcm-3-01-02'", "NULL");
  database.AddResource("'bnevb'", "'bnevb-001'", "''");
  database.AddDCM("dcm-3-02-12");
  auto run = database.Run();
  ASSERT_TRUE(run.LoadDAQRunHistory());
  ASSERT_THAT(ActiveNames(run), ElementsAre("dcm-3-01-01", "dcm-3-01-02", "dcm-3-02-12"));
  EXPECT_THAT(BuilderNames(run), ElementsAre("bnevb-001"));
  EXPECT_EQ(run.GetDiBlocks()[0].dcms.size(), 12U);
  EXPECT_EQ(Peer::NDCMs(run), 3U);
}

INSTANTIATE_TEST_SUITE_P(Detectors, AnyDetector, testing::Values("Cedar", "Damson", "Elder", "Fenwick"));

class RunOfTheDatabase : public testing::TestWithParam<int> {};

TEST_P(RunOfTheDatabase, IsRead) {
  RunDatabase database;
  database.AddRun(GetParam());
  database.AddDCM("dcm-2-01-01", GetParam());
  auto run = database.Run(GetParam());
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.GetRunType(), "Physics");
  EXPECT_FALSE(run.IsMC());
}

INSTANTIATE_TEST_SUITE_P(RunNumbers, RunOfTheDatabase, testing::Values(10000, 999999));

TEST(DAQRunHistory, OfTwoRowsOfADCMHoldsTheLater) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01-b");
  database.AddDCM("dcm-2-01-01-a");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-2-01-01-b")) << "in the order of their names";
  EXPECT_EQ(Peer::NDCMs(run), 2U);
}

TEST(DAQRunHistory, HasOneSetOfResourcesWhereRowsAreDoubled) {
  RunDatabase database;
  database.AddRun();
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.NSubruns(), 3);
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-2-01-01"));
  EXPECT_EQ(Peer::NDCMs(run), 2U) << "every row counts";
}

TEST(DAQRunHistory, LeavesTheDCMsOfBadDiBlocksOutButCountsThem) {
  RunDatabase database;
  database.AddRun();
  for (const char* name : {"dcm-2-01-01", "dcm-2-02-01", "dcm-2-02-99", "dcm-2-03-01"}) {
    database.AddDCM(name);
  }
  database.AddResource("'dcm'", "'dcm-1-02-01'", "'Alder'");
  database.AddMask("5");
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-2-01-01", "dcm-2-03-01"));
  EXPECT_EQ(Peer::NDCMs(run), 4U);
  EXPECT_EQ(run.GetDiBlocks().size(), 2U);
  EXPECT_THAT(database.TakeErrors("RunHistory"), IsEmpty()) << "the mask is looked at before the DCM number";
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 3);
  EXPECT_EQ(activity.transactions, 1);
}

TEST(DAQRunHistory, CountsAllDCMsOrThoseOfGoodDiBlocksAsAsked) {
  RunDatabase database;
  database.AddRun();
  for (const char* name : {"dcm-2-01-01", "dcm-2-02-01", "dcm-2-02-02", "dcm-2-03-01", "dcm-2-03-12"}) {
    database.AddDCM(name);
  }
  database.AddMask("5");
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  ActivityOf([&] {
    EXPECT_EQ(run.NDCMs(), 5U);
    EXPECT_EQ(run.NLiveDCMs(), 3U);
  });
  auto asked = database.Run();
  asked.SetUseGoodDiBlockMask(true);
  ActivityOf([&] {
    EXPECT_EQ(asked.NLiveDCMs(), 3U) << "the first question of another object";
    EXPECT_EQ(asked.NDCMs(), 5U);
  });
}

TEST(DAQRunHistory, OfTheNearDetectorLosesOneDCMRowToTheFirstMaskAnswer) {
  RunDatabase database("Alder");
  database.AddRun();
  for (const char* name : {"dcm-1-01-01", "dcm-1-01-02", "dcm-1-02-01"}) {
    database.AddDCM(name);
  }
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  EXPECT_THAT(ActiveNames(run), ElementsAre("dcm-1-01-02", "dcm-1-02-01"));
  EXPECT_EQ(Peer::NDCMs(run), 3U);
  EXPECT_EQ(activity.statements, 2) << "no mask is read";
}

}  // namespace
}  // namespace brio::test
