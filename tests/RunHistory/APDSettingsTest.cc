// Voltages and temperatures that LoadAPDSettings stores.
#include <cstdlib>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::Each;
using testing::FloatEq;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-03-05";

std::vector<RunHistory::FEB>& BoardsOf(RunHistory& run, std::size_t dcm) {
  return Peer::DiBlocks(run).at(0).dcms.at(dcm - 1).febs;
}

TEST(APDSettingsLoad, StoresSettingsOfEveryPortOfActiveDCMs) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  for (int port = 0; port < 64; ++port) {
    site.AddSettings(77, kDCM, port, port % 2 == 0 ? "true" : "false", std::to_string(-15 - port) + ".125",
                     std::to_string(375 + port));
  }
  site.AddSettings(77, "dcm-2-03-06", 0, "true", "5", "5");
  site.AddSettings(78, kDCM, 0, "true", "5", "5");
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kAPDLine);
  EXPECT_EQ(output.StandardError(), "");
  const auto& boards = BoardsOf(run, 5);
  ASSERT_EQ(boards.size(), 64U);
  for (std::size_t port = 0; port < 64; ++port) {
    SCOPED_TRACE(port);
    EXPECT_EQ(boards[port].temperatureEnabled, port % 2 == 0);
    EXPECT_FLOAT_EQ(boards[port].temperature, -15.125F - static_cast<float>(port));
    EXPECT_EQ(boards[port].voltage, 375 + static_cast<int>(port));
    EXPECT_FALSE(boards[port].isEnabled);
    EXPECT_FALSE(boards[port].isInstalled);
  }
  EXPECT_TRUE(BoardsOf(run, 6).empty());
}

TEST(APDSettingsLoad, NarrowsTheTemperature) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "-15.123456789012345", "400");
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  EXPECT_EQ(BoardsOf(run, 5)[0].temperature, static_cast<float>(-15.123456789012345));
}

TEST(APDSettingsLoad, ATemperatureOutOfAFloatsRangeIsInfinite) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "1e300", "400");
  site.AddSettings(77, kDCM, 1, "true", "-1e300", "400");
  site.AddSettings(77, kDCM, 2, "true", "3.4028235677973362e38", "400");
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  const auto& boards = BoardsOf(run, 5);
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(boards[0].temperature, kInfinity);
  EXPECT_EQ(boards[1].temperature, -kInfinity);
  EXPECT_EQ(boards[2].temperature, std::numeric_limits<float>::max()) << "rounded, as within the range";
}

TEST(APDSettingsLoad, ATemperatureThatWasNotRecordedIsThatOfThePortBefore) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM, "dcm-2-03-06"});
  site.AddSettings(77, kDCM, 1, "true", "-12.5", "401");
  site.AddSettings(77, kDCM, 2, "true", "NULL", "402");
  site.AddSettings(77, kDCM, 4, "NULL", "-11.5", "NULL");
  site.AddSettings(77, "dcm-2-03-06", 1, "false", "-10.5", "403");
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  const auto& first = BoardsOf(run, 5);
  EXPECT_EQ(first[0].temperature, -100.0F) << "none was recorded yet";
  EXPECT_EQ(first[1].temperature, -12.5F);
  EXPECT_EQ(first[2].temperature, -12.5F) << "NULL";
  EXPECT_EQ(first[3].temperature, -12.5F) << "no row";
  for (std::size_t port = 4; port < 64; ++port) {
    EXPECT_EQ(first[port].temperature, -11.5F);
  }
  const auto& second = BoardsOf(run, 6);
  EXPECT_EQ(second[0].temperature, -11.5F) << "also from DCM to DCM";
  EXPECT_EQ(second[1].temperature, -10.5F);
  EXPECT_EQ(second[63].temperature, -10.5F);
  // Voltage and control have no such memory.
  EXPECT_EQ(first[2].voltage, 402);
  EXPECT_EQ(first[3].voltage, 0);
  EXPECT_EQ(first[4].voltage, 0);
  EXPECT_TRUE(first[2].temperatureEnabled);
  EXPECT_FALSE(first[3].temperatureEnabled);
  EXPECT_FALSE(first[4].temperatureEnabled);
}

TEST(APDSettingsLoad, SucceedsWithoutAnySettings) {
  for (const char* flaw : {"DELETE FROM slowcontrol.apd_settings", "DROP TABLE slowcontrol.apd_settings"}) {
    SCOPED_TRACE(flaw);
    const ConfiguredSite site;
    site.AddRun(kRun, 77, {kDCM});
    site.AddSettings(77, kDCM, 1, "true", "-12.5", "401");
    site.Execute(flaw);
    RunHistory run(kRun, "Birch");
    const CapturedMessages messages;
    CapturedOutput output;
    EXPECT_TRUE(run.LoadAPDSettings());
    EXPECT_EQ(output.StandardError(), "");
    EXPECT_THAT(messages.All(), testing::SizeIs(1)) << "the look-up says what it misses";
    for (const auto& board : BoardsOf(run, 5)) {
      EXPECT_FALSE(board.temperatureEnabled);
      EXPECT_EQ(board.temperature, -100.0F);
      EXPECT_EQ(board.voltage, 0);
    }
    EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
  }
}

TEST(APDSettingsLoad, LeavesTheGainsOfOtherDetectorsAlone) {
  const ConfiguredSite site("alder");
  site.AddRun(11000, 77, {"dcm-1-01-02"});
  site.AddNearModule("dcm-1-01-02", 63);
  site.AddSettings(77, "dcm-1-01-02", 63, "true", "-14.5", "410");
  RunHistory run(11000, "Alder");
  dbi::gLocToFA.clear();
  dbi::gLocToFA[{1, 9, 9, 9}] = {};
  CapturedOutput output;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_EQ(output.StandardOutput(), kHardwareLine) << "no APDs are pulled";
  EXPECT_EQ(output.StandardError(), "");
  const auto& board = BoardsOf(run, 2)[63];
  EXPECT_TRUE(board.isInstalled);
  EXPECT_TRUE(board.temperatureEnabled);
  EXPECT_EQ(board.temperature, -14.5F);
  EXPECT_EQ(board.voltage, 410);
  EXPECT_EQ(board.avgGain, 0.0F);
  EXPECT_EQ(board.pixelGains, std::vector<float>(32, 100.0F));
  EXPECT_EQ(run.NInstrumentedFEBs(), 1) << "as the hardware loader counted";
  EXPECT_EQ(dbi::gLocToFA.size(), 1U) << "the map of the last far-detector run stays";
}

TEST(APDSettingsLoad, DoesNotNeedThePixelConfiguration) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.Execute("DROP SCHEMA daqconfig CASCADE");
  RunHistory run(kRun, "Birch");
  run.SetMaxLoadRetries(-1);
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
}

TEST(APDSettingsLoad, HappensOnce) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "-15", "400");
  RunHistory run(kRun, "Birch");
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadAPDSettings());
  }
  site.Execute("UPDATE slowcontrol.apd_settings SET voltage = 1");
  CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(asked.Statements(), 0);
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
  EXPECT_EQ(BoardsOf(run, 5)[0].voltage, 400);
}

TEST(APDSettingsLoad, SetsTheDetectorInTheEnvironmentAndLeavesItSet) {
  const EnvironmentVariable before("BRIODAQ_ENVIRONMENT", nullptr);
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  RunHistory run(kRun, "Birch");
  const CapturedMessages messages;
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  EXPECT_STREQ(std::getenv("BRIODAQ_ENVIRONMENT"), "Birch");
}

TEST(APDSettingsLoad, IsFalseForAMissingRun) {
  const ConfiguredSite site;
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadAPDSettings());
  EXPECT_EQ(asked.Statements(), 1);
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
}

TEST(APDSettingsLoad, IsFalseWhenTheHardwareCannotBeLoaded) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddSettings(77, kDCM, 0, "true", "-15", "400");
  site.Execute("DROP TABLE public.feb_comm_cables");
  RunHistory run(kRun, "Birch");
  const CapturedMessages messages;
  const CapturedOutput output;
  EXPECT_FALSE(run.LoadAPDSettings());
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_EQ(BoardsOf(run, 5)[0].voltage, 0);
}

TEST(APDSettingsLoad, IsThereForASimulatedNearRunWithFewerPorts) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  RunHistory run(1, "Alder");
  CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(output.StandardOutput(), "Looks like a MC run number - assume perfect + any mask\n");
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(BoardsOf(run, 1).size(), 32U);
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      for (const auto& board : dcm.febs) {
        EXPECT_EQ(board.temperature, -100.0F);
        EXPECT_EQ(board.avgGain, 0.0F);
      }
    }
  }
}

}  // namespace
}  // namespace brio::test
