#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;

class NearHardware : public testing::Test {
protected:
  NearHardware() : databases_("empty", {"alder"}), address_("BRIO_DATABASE", databases_.Template()) {
    databases_.Execute(
        "INSERT INTO daq.runs (run, tstart, nsubruns) VALUES (11000, '2015-08-01 15:30:00', 1);"
        "INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES "
        "(11000, 'dcm', 'dcm-1-01-02', 'Alder'), (11000, 'dcm', 'dcm-1-04-01', 'Alder')",
        "alder");
  }
  /// A row of the positions' table, installed in 2013 unless told otherwise.
  void Add(const std::string& dcm, int port, const std::string& installed = "2013-01-01",
           const std::string& removed = "NULL", const std::string& type = "APD",
           const std::string& detector = "Alder") {
    databases_.Execute("INSERT INTO hardware_position VALUES ('" + detector + "', '" + dcm + "', " +
                           std::to_string(port) + ", 7, 8, 9, '" + installed + "', " + removed + ", '" +
                           type + "', NULL)",
                       "alder");
  }

  test::ScratchDatabases databases_;
  test::EnvironmentVariable address_;
  RunHistory run_{11000, "Alder"};
};

TEST_F(NearHardware, MarksThePortsOfTheName) {
  Add("dcm-1-01-02", 31);
  Add("dcm-1-04-01", 15);
  Add("dcm-1-04-02", 15);  // took no part
  Add("dcm-1-03-01", 15);  // nor did the diblock
  test::CapturedOutput output;
  ASSERT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(output.StandardOutput(), "RunHistory: Loading FEB and APD installation information\n");
  EXPECT_EQ(output.StandardError(), "");
  const auto& board = run_.GetDiBlocks().at(0).dcms.at(1).febs.at(31);
  EXPECT_TRUE(board.isInstalled);
  EXPECT_EQ(board.block, 7);
  EXPECT_EQ(board.plane, 8);
  EXPECT_EQ(board.modulePosition, 9);
  EXPECT_TRUE(run_.GetDiBlocks().at(1).dcms.at(0).febs.at(15).isInstalled);
  EXPECT_EQ(run_.NInstrumentedFEBs(), 2);
  EXPECT_EQ(run_.GetDiBlocks()[1].nInstrumentedFEBs, 1);
  EXPECT_FALSE(run_.GetDiBlocks()[0].isActive);
}

TEST_F(NearHardware, ThePortsThatTheFarDetectorSkipsAreOrdinary) {
  databases_.Execute(
      "INSERT INTO daq.daqresourcesbyrun (run, resource_type, appname, detector) VALUES "
      "(11000, 'dcm', 'dcm-1-04-03', 'Alder')",
      "alder");
  Add("dcm-1-04-03", 15);
  test::CapturedOutput output;
  ASSERT_TRUE(run_.LoadHardwareInfo());
  EXPECT_TRUE(run_.GetDiBlocks().at(1).dcms.at(2).febs.at(15).isInstalled);
}

TEST_F(NearHardware, TheMaskDoesNotCount) {
  databases_.Execute("INSERT INTO dataquality.gooddiblocksvsrun VALUES (11000, 0, '2016-01-01', 'x')",
                     "alder");
  Add("dcm-1-01-02", 31);
  test::CapturedOutput output;
  ASSERT_TRUE(run_.LoadDAQRunHistory());
  run_.SetUseGoodDiBlockMask(true);
  ASSERT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(run_.NInstrumentedFEBs(), 1);
}

TEST_F(NearHardware, OnlyAPDsOfTheNearDetectorThatAreInstalledCount) {
  Add("dcm-1-01-02", 0, "2015-08-01 15:29:59Z");
  Add("dcm-1-01-02", 1, "2015-08-01 15:30:00Z");
  Add("dcm-1-01-02", 2, "2013-01-01", "'2015-08-01 15:30:00Z'");
  Add("dcm-1-01-02", 3, "2013-01-01", "'2015-08-01 15:30:01Z'");
  Add("dcm-1-01-02", 4, "2013-01-01", "NULL", "FEB");
  Add("dcm-1-01-02", 5, "2013-01-01", "NULL", "APD", "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run_.LoadHardwareInfo());
  const auto& boards = run_.GetDiBlocks().at(0).dcms.at(1).febs;
  const std::vector<bool> expected{true, false, false, true, false, false};
  for (std::size_t port = 0; port < expected.size(); ++port) {
    EXPECT_EQ(boards.at(port).isInstalled, expected[port]) << port;
  }
}

TEST_F(NearHardware, ANameTooShortToCutThrows) {
  Add("dcm", 0);
  test::CapturedOutput output;
  EXPECT_THROW(run_.LoadHardwareInfo(), std::out_of_range);
  EXPECT_FALSE(Peer::LoadedFlags(run_).hardware);
  EXPECT_EQ(test::server::LastingConnections(databases_.Name("alder")), 0);
}

TEST_F(NearHardware, RowsOutsideTheDetectorAreCountedAndLeftOut) {
  Add("dcm-1-01-05", 0);
  Add("dcm-1-01-02", 64);
  const test::CapturedMessages messages;
  test::CapturedOutput output;
  ASSERT_TRUE(run_.LoadHardwareInfo());
  EXPECT_EQ(
      messages.Texts(Severity::Error, "RunHistory"),
      std::vector<std::string>{"LoadHardwareInfo: left out 2 rows that point outside the run's detector, "
                               "the first: diblock 1, DCM 2, port 64"});
  EXPECT_EQ(run_.NInstrumentedFEBs(), 0);
}

TEST(OtherHardware, IsLoadedWithoutAStatement) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  RunHistory run(12000, "Cedar");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadDAQRunHistory());
  const test::SentStatements sent;
  EXPECT_TRUE(run.LoadHardwareInfo());
  EXPECT_TRUE(sent.Texts().empty());
  EXPECT_TRUE(Peer::LoadedFlags(run).hardware);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(output.StandardOutput(), "RunHistory: Loading FEB and APD installation information\n");
}

}  // namespace
}  // namespace brio::dbi
