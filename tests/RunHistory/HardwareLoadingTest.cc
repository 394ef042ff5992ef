#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "framework/exception.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;
using Texts = std::vector<std::string>;

const char* const kProgress = "RunHistory: Loading FEB and APD installation information\n";

class HardwareLoading : public testing::Test {
protected:
  /// A place whose module had an APD when the runs started.
  void AddPlace(const std::string& diblock, const std::string& dcm, const std::string& port, int module) {
    rows_.AddModule(module);
    rows_.AddCable(diblock, dcm, port, module);
    AddAPD(module);
  }
  void AddAPD(int module, const std::string& connected = "2013-06-01 00:00:00Z",
              const std::string& disconnected = "") {
    test::APDRows apd;
    const int number = ++apds_;
    apd.serial = std::to_string(10'000'000 + number).substr(1);
    apd.item += number;
    apd.connection += number;
    apd.module = module;
    apd.connected = connected;
    apd.disconnected = disconnected;
    rows_.Add(apd);
  }
  static bool Load(RunHistory& run) {
    test::CapturedOutput output;
    const bool loaded = run.LoadHardwareInfo();
    EXPECT_EQ(output.StandardError(), "");
    return loaded;
  }
  static const RunHistory::FEB& Board(const RunHistory& run, std::size_t diblock, std::size_t dcm,
                                      std::size_t port) {
    return run.GetDiBlocks().at(diblock).dcms.at(dcm - 1).febs.at(port);
  }

  test::HardwareRows rows_;
  int apds_ = 0;
};

TEST_F(HardwareLoading, MarksThePortOnce) {
  rows_.AddRun(13000, {"dcm-2-03-04", "dcm-2-03-05"});
  AddPlace("03", "04", "17", 100001);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_TRUE(Peer::LoadedFlags(run).hardware);
  const auto& board = Board(run, 0, 4, 17);
  EXPECT_TRUE(board.isInstalled);
  EXPECT_EQ(board.block, 100001 % 28);
  EXPECT_EQ(board.plane, 100001 % 32);
  EXPECT_EQ(board.modulePosition, 100001 % 12);
  EXPECT_FALSE(board.isEnabled);
  const auto& diblock = run.GetDiBlocks().at(0);
  EXPECT_EQ(diblock.nInstrumentedFEBs, 1);
  EXPECT_EQ(diblock.dcms[3].nInstrumentedFEBs, 1);
  EXPECT_EQ(diblock.dcms[4].nInstrumentedFEBs, 0);
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_FALSE(Board(run, 0, 4, 16).isInstalled);
}

TEST_F(HardwareLoading, ASecondRowOfAPortChangesNothing) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  AddPlace("03", "04", "17", 100001);
  AddAPD(100001);  // a second APD on the module
  AddPlace("3", "4", "17", 100002);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_EQ(run.GetDiBlocks().at(0).nInstrumentedFEBs, 1);
  EXPECT_EQ(run.GetDiBlocks().at(0).dcms[3].nInstrumentedFEBs, 1);
  EXPECT_EQ(Board(run, 0, 4, 17).block, 100001 % 28);  // the first in the order of the texts
}

TEST_F(HardwareLoading, ASecondCallAsksNothing) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  AddPlace("03", "04", "17", 100001);
  RunHistory run(13000, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  const auto before = ConnectionStatistics::Now();
  EXPECT_TRUE(run.LoadHardwareInfo());
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_EQ(output.StandardOutput(), kProgress);
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
  EXPECT_EQ(test::server::LastingConnections(rows_.Databases().Name()), 0);
}

TEST_F(HardwareLoading, ARowOfADCMThatTookNoPartMarksNothing) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  AddPlace("03", "05", "17", 100001);
  AddPlace("04", "04", "17", 100002);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  ASSERT_EQ(run.GetDiBlocks().size(), 1U);
  EXPECT_EQ(run.GetDiBlocks()[0].nInstrumentedFEBs, 0);
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[4].nInstrumentedFEBs, 0);
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
}

TEST_F(HardwareLoading, ClearsTheFlagOfDiBlocksWithHardware) {
  rows_.AddRun(13000, {"dcm-2-03-04", "dcm-2-06-07", "dcm-2-09-01"});
  AddPlace("03", "04", "17", 100001);
  AddPlace("09", "02", "17", 100002);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_FALSE(run.GetDiBlocks().at(0).isActive);
  EXPECT_TRUE(run.GetDiBlocks().at(1).isActive);
  EXPECT_TRUE(run.GetDiBlocks().at(2).isActive);  // its hardware is on a DCM that took no part
}

TEST_F(HardwareLoading, ThreePortsAreNeverMarked) {
  rows_.AddRun(13000, {"dcm-2-04-07", "dcm-2-05-07", "dcm-2-14-06", "dcm-2-14-07"});
  AddPlace("04", "07", "15", 100001);
  AddPlace("05", "07", "59", 100002);
  AddPlace("14", "06", "42", 100003);
  AddPlace("05", "07", "15", 100004);
  AddPlace("04", "07", "59", 100005);
  AddPlace("14", "07", "42", 100006);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_FALSE(Board(run, 0, 7, 15).isInstalled);
  EXPECT_FALSE(Board(run, 1, 7, 59).isInstalled);
  EXPECT_FALSE(Board(run, 2, 6, 42).isInstalled);
  EXPECT_TRUE(Board(run, 1, 7, 15).isInstalled);
  EXPECT_TRUE(Board(run, 0, 7, 59).isInstalled);
  EXPECT_TRUE(Board(run, 2, 7, 42).isInstalled);
  EXPECT_EQ(run.NInstrumentedFEBs(), 3);
}

TEST_F(HardwareLoading, APortThatIsNeverMarkedStillClearsTheFlag) {
  rows_.AddRun(13000, {"dcm-2-04-07"});
  AddPlace("04", "07", "15", 100001);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_EQ(run.GetDiBlocks().at(0).nInstrumentedFEBs, 0);
  EXPECT_FALSE(run.GetDiBlocks().at(0).isActive);
}

/// Such entries cannot come from the resources table, but the rule speaks of every entry of the number.
TEST_F(HardwareLoading, ATakenPortGoesOnToTheNextEntryOfTheNumber) {
  rows_.AddRun(13000, {"dcm-2-03-04", "dcm-2-04-07"});
  AddPlace("03", "04", "17", 100001);
  AddPlace("03", "4", "17", 100002);
  AddPlace("04", "07", "15", 100003);
  RunHistory run(13000, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadDAQRunHistory());
  auto& diblocks = Peer::DiBlocks(run);
  diblocks.push_back(diblocks[0]);
  diblocks.push_back(diblocks[1]);
  ASSERT_TRUE(run.LoadHardwareInfo());
  EXPECT_EQ(Board(run, 0, 4, 17).block, 100001 % 28);
  EXPECT_EQ(Board(run, 2, 4, 17).block, 100002 % 28);
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  EXPECT_FALSE(diblocks[1].isActive);
  EXPECT_FALSE(diblocks[3].isActive);
}

TEST_F(HardwareLoading, DiBlocksThatAreNotGoodAreLeftOut) {
  rows_.AddRun(13000, {"dcm-2-03-04", "dcm-2-06-07"});
  rows_.Execute("INSERT INTO dataquality.gooddiblocksvsrun VALUES (13000, 32, '2016-01-01', 'x')");
  AddPlace("03", "04", "17", 100001);
  AddPlace("06", "07", "18", 100002);
  RunHistory run(13000, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadDAQRunHistory());
  ASSERT_EQ(run.GetDiBlocks().size(), 2U);
  run.SetUseGoodDiBlockMask(true);
  ASSERT_TRUE(run.LoadHardwareInfo());
  EXPECT_FALSE(Board(run, 0, 4, 17).isInstalled);
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
  EXPECT_TRUE(Board(run, 1, 7, 18).isInstalled);
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
}

TEST_F(HardwareLoading, TheStartIsComparedInCDT) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  // The run starts at 15:30 by the text; as CDT that is 20:30 UTC.
  const Texts connected{"2015-08-01 20:29:59Z", "2015-08-01 20:30:00Z", "2013-06-01", "2013-06-01",
                        "2013-06-01"};
  const Texts disconnected{"", "", "2015-08-01 20:30:00Z", "2015-08-01 20:30:01Z", "2015-08-01 15:30:01Z"};
  for (int port = 0; port < 5; ++port) {
    const auto index = static_cast<std::size_t>(port);
    rows_.AddModule(100001 + port);
    rows_.AddCable("03", "04", std::to_string(port), 100001 + port);
    AddAPD(100001 + port, connected[index], disconnected[index]);
  }
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  EXPECT_TRUE(Board(run, 0, 4, 0).isInstalled);
  EXPECT_FALSE(Board(run, 0, 4, 1).isInstalled);
  EXPECT_FALSE(Board(run, 0, 4, 2).isInstalled);
  EXPECT_TRUE(Board(run, 0, 4, 3).isInstalled);
  EXPECT_FALSE(Board(run, 0, 4, 4).isInstalled);
}

TEST_F(HardwareLoading, RowsOutsideTheDetectorAreCountedAndLeftOut) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  AddPlace("03", "04", "64", 100001);
  AddPlace("03", "04", "-1", 100002);
  AddPlace("03", "00", "01", 100003);
  AddPlace("03", "13", "01", 100004);
  AddPlace("03", "-1", "01", 100005);
  AddPlace("99", "99", "99", 100006);  // no diblock of this number: a place that the run does not have
  AddPlace("03", "04", "63", 100007);
  RunHistory run(13000, "Birch");
  const test::CapturedMessages messages;
  ASSERT_TRUE(Load(run));
  EXPECT_EQ(messages.Texts(Severity::Error, "RunHistory"),
            Texts{"LoadHardwareInfo: left out 5 rows that point outside the run's detector, the first: "
                  "diblock 3, DCM -1, port 1"});
  EXPECT_TRUE(Board(run, 0, 4, 63).isInstalled);
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
}

TEST_F(HardwareLoading, AnotherRunLoadsAnew) {
  rows_.AddRun(13000, {"dcm-2-03-04"});
  rows_.AddRun(13001, {"dcm-2-06-07"});
  AddPlace("03", "04", "17", 100001);
  AddPlace("06", "07", "18", 100002);
  AddPlace("06", "07", "19", 100003);
  RunHistory run(13000, "Birch");
  ASSERT_TRUE(Load(run));
  run.SetRunNumber(13001);
  EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
  ASSERT_TRUE(Load(run));
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
}

}  // namespace
}  // namespace brio::dbi
