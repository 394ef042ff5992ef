#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

/// A far-detector run with DCM 7 of diblock 4 and DCM 1 of diblock 5.
struct FarHardware : testing::Test {
  FarHardware() {
    database.AddRun();
    database.AddDCM("dcm-2-04-07");
    database.AddDCM("dcm-2-05-01");
  }
  RunHistory Loaded() {
    auto run = database.Run();
    ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
    return run;
  }
  RunDatabase database;
};

TEST_F(FarHardware, OfADCMThatTookNoPartIsNotMarkedElsewhereEither) {
  database.AddFarModule(4, 8, 3);
  auto run = database.Run();
  ASSERT_TRUE(run.LoadDAQRunHistory());
  // Another entry of the same diblock, in which the DCM took part.
  auto& diblocks = Peer::DiBlocks(run);
  diblocks.push_back(diblocks[0]);
  diblocks.back().dcms[7].isActive = true;
  diblocks.back().dcms[7].febs.resize(64);
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), IsEmpty()) << "the row is dropped";
  EXPECT_TRUE(diblocks[0].isActive);
  EXPECT_TRUE(diblocks.back().isActive);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
}

TEST_F(FarHardware, IsTimedWhenThatIsSwitchedOn) {
  database.AddFarModule(4, 7, 0);
  for (const bool on : {false, true}) {
    auto run = database.Run();
    ASSERT_TRUE(run.LoadDAQRunHistory());
    run.SetTimeQueries(on);
    const CapturedMessages messages("info");
    ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
    const auto texts = messages.Texts(Severity::Info, "BrioDatabase");
    EXPECT_EQ(std::any_of(texts.begin(), texts.end(),
                          [](const auto& text) { return text.rfind("query took ", 0) == 0; }),
              on);
  }
}

TEST_F(FarHardware, IsMarkedOnItsPortsAndCounted) {
  database.AddFarModule(4, 7, 0);
  database.AddFarModule(4, 7, 63);
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), ElementsAre("4/7/0", "4/7/63"));
  const auto& fourth = run.GetDiBlocks()[0];
  EXPECT_EQ(fourth.dcms[6].febs[63].block, 24);
  EXPECT_EQ(fourth.dcms[6].febs[63].plane, 37);
  EXPECT_EQ(fourth.dcms[6].febs[63].modulePosition, 103);
  EXPECT_EQ(fourth.dcms[6].nInstrumentedFEBs, 2);
  EXPECT_EQ(fourth.nInstrumentedFEBs, 2);
  EXPECT_FALSE(fourth.isActive) << "hardware was found in it";
  EXPECT_EQ(run.GetDiBlocks()[1].nInstrumentedFEBs, 0);
  EXPECT_TRUE(run.GetDiBlocks()[1].isActive) << "no hardware was found in it";
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 3);
  EXPECT_EQ(activity.transactions, 1);
  EXPECT_TRUE(database.IsLeft());
  const auto again = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(again.attempts, 0);
  EXPECT_EQ(again.output, "");
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
}

TEST_F(FarHardware, IsCountedOnceAPort) {
  database.AddFarModule(4, 7, 3);
  database.AddFarModule(4, 7, 3);
  const auto run = Loaded();
  EXPECT_THAT(Installed(run), ElementsAre("4/7/3"));
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 1);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[6].nInstrumentedFEBs, 1);
}

TEST_F(FarHardware, OnAPortThatIsMarkedAlreadyClearsItsDiBlockOnly) {
  database.AddFarModule(4, 7, 3);
  auto run = database.Run();
  run.LoadDAQRunHistory();
  auto& feb = Peer::DiBlocks(run)[0].dcms[6].febs[3];
  feb.isInstalled = true;
  feb.block = 99;
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_FALSE(run.GetDiBlocks()[0].isActive);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 0);
  EXPECT_EQ(feb.block, 99);
}

TEST_F(FarHardware, OfADCMThatTookNoPartChangesNothing) {
  database.AddFarModule(4, 8, 3);
  database.AddFarModule(6, 1, 3);
  const auto run = Loaded();
  EXPECT_THAT(Installed(run), IsEmpty());
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
}

struct NeverMarked {
  int diblock;
  int dcm;
  int port;
};

class NeverMarkedPort : public testing::TestWithParam<NeverMarked> {};

TEST_P(NeverMarkedPort, ClearsItsDiBlockAndCountsNothing) {
  const auto& [diblock, dcm, port] = GetParam();
  RunDatabase database;
  database.AddRun();
  const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
  database.AddDCM("dcm-2-" + two(diblock) + "-" + two(dcm));
  database.AddFarModule(diblock, dcm, port);
  auto run = database.Run();
  ActivityOf([&] { run.LoadHardwareInfo(); });
  EXPECT_THAT(Installed(run), IsEmpty());
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 0);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[static_cast<std::size_t>(dcm) - 1].nInstrumentedFEBs, 0);
  EXPECT_FALSE(run.GetDiBlocks()[0].isActive);

  database.AddFarModule(diblock, dcm, port + 1);
  database.AddFarModule(diblock, dcm, port - 1);
  run.InvalidateCaches();
  ActivityOf([&] { run.LoadHardwareInfo(); });
  EXPECT_EQ(run.NInstrumentedFEBs(), 2) << "the ports beside it are ordinary";
}

INSTANTIATE_TEST_SUITE_P(FarHardware, NeverMarkedPort,
                         testing::Values(NeverMarked{4, 7, 15}, NeverMarked{5, 7, 59},
                                         NeverMarked{14, 6, 42}));

TEST_F(FarHardware, OutsideTheDetectorIsReportedAndLeftOut) {
  database.AddFarModule(4, 7, 64);
  database.AddFarModule(4, 0, 1);
  database.AddFarModule(4, 13, 1);
  database.AddFarModule(4, 7, -1);
  database.AddFarModule(5, 1, 5);
  const auto run = Loaded();
  EXPECT_THAT(Installed(run), ElementsAre("5/1/5"));
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_THAT(
      database.TakeErrors("RunHistory"),
      ElementsAre("LoadHardwareInfo: left out 4 rows that point outside the run's detector, the first: "
                  "diblock 4, DCM 0, port 1"));
}

TEST_F(FarHardware, OnAPortThatAnActiveDCMLacksClearsItsDiBlock) {
  database.AddFarModule(4, 7, 64);
  database.AddFarModule(5, 1, -1);
  const auto run = Loaded();
  EXPECT_THAT(Installed(run), IsEmpty());
  EXPECT_FALSE(run.GetDiBlocks()[0].isActive);
  EXPECT_FALSE(run.GetDiBlocks()[1].isActive);
  EXPECT_THAT(database.TakeErrors("RunHistory"), testing::SizeIs(1));
}

TEST_F(FarHardware, OfADCMThatTheDetectorLacksClearsNothing) {
  database.AddFarModule(4, 0, 1);
  database.AddFarModule(5, 13, 1);
  const auto run = Loaded();
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
  EXPECT_TRUE(run.GetDiBlocks()[1].isActive);
  EXPECT_THAT(database.TakeErrors("RunHistory"), testing::SizeIs(1));
}

TEST_F(FarHardware, OnAPortThatAnInactiveDCMLacksIsNotEvenReported) {
  database.AddFarModule(4, 8, 64);
  const auto run = Loaded();
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
}

struct Blank {
  const char* column;
  std::vector<std::string> installed;
  std::vector<std::string> errors;
};

class FarColumn : public testing::TestWithParam<Blank> {};

TEST_P(FarColumn, WithoutAValueReadsAsZero) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-04-07");
  database.AddFarModule(4, 7, 3);
  database.Execute(std::string("UPDATE public.feb_comm_cables SET ") + GetParam().column + " = NULL");
  auto run = database.Run();
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(Installed(run), GetParam().installed);
  EXPECT_EQ(database.TakeErrors("RunHistory"), GetParam().errors);
}

INSTANTIATE_TEST_SUITE_P(
    FarHardware, FarColumn,
    testing::Values(
        Blank{"location1", {}, {}},
        Blank{"position1",
              {},
              {"LoadHardwareInfo: left out 1 row that points outside the run's detector, the first: "
               "diblock 4, DCM 0, port 3"}},
        Blank{"port1", {"4/7/0"}, {}}, Blank{"location2", {}, {}}, Blank{"port2", {}, {}}));

TEST_F(FarHardware, OfDiBlocksThatAreNotGoodIsLeftOut) {
  database.AddFarModule(4, 7, 3);
  database.AddFarModule(5, 1, 5);
  database.AddMask("8");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  run.SetUseGoodDiBlockMask(true);
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_THAT(Installed(run), ElementsAre("4/7/3"));
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_TRUE(run.GetDiBlocks()[1].isActive);
}

TEST(Hardware, AMaskThatAbortsInTheMiddleLeavesNoConnectionAndIsTriedAgain) {
  RunDatabase database;
  database.AddRun();
  database.AddBNEVB("bnevb-001");
  database.AddFarModule(4, 7, 3);
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  run.SetAbortIfNoMask(true);
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::string thrown;
    ActivityOf([&] { thrown = ThrownBy([&] { run.LoadHardwareInfo(); }); });
    EXPECT_EQ(thrown, "RunHistory|No mask found in DB!");
    EXPECT_TRUE(Peer::LoadedFlags(run).daq);
    EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
    EXPECT_TRUE(database.IsLeft());
  }
  database.AddMask("1");
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
}

}  // namespace
}  // namespace brio::test
