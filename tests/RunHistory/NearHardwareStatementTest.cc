#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

/// A near-detector run with DCMs 1 and 2 of diblock 4.
struct NearHardware : testing::Test {
  NearHardware() {
    database.AddRun();
    database.AddDCM("dcm-1-04-01");
    database.AddDCM("dcm-1-04-02");
  }
  RunDatabase database{"Alder"};
};

TEST_F(NearHardware, IsMarkedOnItsPortsAndCounted) {
  database.AddNearModule("'dcm-1-04-01'", "0");
  database.AddNearModule("'dcm-1-04-01'", "0");
  database.AddNearModule("'dcm-1-04-02'", "63");
  database.AddNearModule("'dcm-1-03-01'", "5");
  database.AddNearModule("'dcm-1-04-03'", "5");
  database.Execute(
      "INSERT INTO public.hardware_position SELECT 'Birch', 'dcm-1-04-01', 7, 1, 1, 1, install_date, "
      "NULL, 'APD' FROM public.hardware_position LIMIT 1;"
      "INSERT INTO public.hardware_position SELECT 'Alder', 'dcm-1-04-01', 8, 1, 1, 1, install_date, "
      "NULL, 'FEB' FROM public.hardware_position LIMIT 1");
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), ElementsAre("4/1/0", "4/2/63"));
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 2);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[1].nInstrumentedFEBs, 1);
  EXPECT_FALSE(run.GetDiBlocks()[0].isActive);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[1].febs[63].block, 21);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[1].febs[63].plane, 31);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[1].febs[63].modulePosition, 41);
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 3);
  EXPECT_TRUE(database.IsLeft());
}

TEST_F(NearHardware, DoesNotAskForTheMask) {
  database.AddNearModule("'dcm-1-04-01'", "1");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetUseGoodDiBlockMask(true);
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), ElementsAre("4/1/1"));
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  EXPECT_FALSE(Peer::LoadedFlags(run).mask);
}

TEST_F(NearHardware, MarksAnyPort) {
  for (const char* port : {"15", "59", "42"}) {
    database.AddNearModule("'dcm-1-04-01'", port);
  }
  auto run = database.Run();
  ActivityOf([&] { run.LoadHardwareInfo(); });
  EXPECT_EQ(run.NInstrumentedFEBs(), 3);
}

TEST_F(NearHardware, OutsideTheDetectorIsReportedAndLeftOut) {
  for (const char* name : {"'dcm-1-04-05'", "'dcm-1-04-13'", "'dcm-1-04-00'"}) {
    database.AddNearModule(name, "1");
  }
  database.AddNearModule("'dcm-1-04-01'", "64");
  database.AddNearModule("'dcm-1-04-01'", "-1");
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), IsEmpty());
  EXPECT_THAT(
      database.TakeErrors("RunHistory"),
      ElementsAre("LoadHardwareInfo: left out 5 rows that point outside the run's detector, the first: "
                  "diblock 4, DCM 0, port 1"));
}

TEST_F(NearHardware, OnAPortThatAnActiveDCMLacksClearsItsDiBlock) {
  database.AddDCM("dcm-1-03-01");
  database.AddNearModule("'dcm-1-03-05'", "1");
  database.AddNearModule("'dcm-1-04-01'", "64");
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), IsEmpty());
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive) << "there is no such DCM in it";
  EXPECT_FALSE(run.GetDiBlocks()[1].isActive);
  EXPECT_THAT(database.TakeErrors("RunHistory"), testing::SizeIs(1));
}

TEST_F(NearHardware, WithoutValuesReadsAsZero) {
  database.AddNearModule("'dcm-1-04-01'", "NULL");
  database.Execute("UPDATE public.hardware_position SET block = NULL, plane = NULL, module_position = NULL");
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), ElementsAre("4/1/0"));
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[0].febs[0].block, 0);
}

TEST_F(NearHardware, WithATooShortNameFailsToBeCutAndIsTriedAgain) {
  for (const char* name : {"''", "'dcm-1'", "'dcm-1-04'", "NULL"}) {
    database.Execute("DELETE FROM public.hardware_position");
    database.AddNearModule(name, "1");
    auto run = database.Run();
    ActivityOf([&] { EXPECT_THROW(run.LoadHardwareInfo(), std::out_of_range) << name; });
    EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
    EXPECT_TRUE(database.IsLeft());
    database.Execute("DELETE FROM public.hardware_position");
    ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()) << name; });
  }
}

}  // namespace
}  // namespace brio::test
