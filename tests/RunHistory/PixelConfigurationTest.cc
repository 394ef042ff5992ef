// What LoadPixelInfo stores, says and leaves alone.
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-03-05";

RunHistory::DCM& DCMOf(RunHistory& run, std::size_t diblock, std::size_t number) {
  return Peer::DiBlocks(run).at(diblock).dcms.at(number - 1);
}

TEST(PixelConfiguration, StoresMasksCountsAndThresholdsOfEnabledBoards) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddConfiguration(77);
  std::vector<int> pixelMasks(64, -1);
  pixelMasks[0] = 0x00000005;
  pixelMasks[2] = 0;
  pixelMasks[63] = static_cast<int>(0x80000001U);
  site.AddMasks(77, kDCM, static_cast<long long>(0x8000000000000005ULL), pixelMasks);
  std::vector<short> thresholds(2048);
  for (std::size_t i = 0; i < thresholds.size(); ++i) {
    thresholds[i] = static_cast<short>(i);
  }
  thresholds[0] = -1;
  thresholds[31] = -32768;
  thresholds[2047] = 32767;
  site.AddThresholds(77, kDCM, thresholds);

  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  EXPECT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines);
  EXPECT_EQ(output.StandardError(), "");

  EXPECT_EQ(run.NEnabledFEBs(), 3);
  EXPECT_EQ(run.NTotalChannels(), 96) << "32 for every enabled board, whatever its pixel mask";
  const auto& dcm = DCMOf(run, 0, 5);
  EXPECT_EQ(dcm.febEnableMask, 0x8000000000000005ULL);
  ASSERT_EQ(dcm.febs.size(), 64U);
  for (std::size_t port = 0; port < 64; ++port) {
    SCOPED_TRACE(port);
    const auto& feb = dcm.febs[port];
    const bool enabled = port == 0 || port == 2 || port == 63;
    EXPECT_EQ(feb.isEnabled, enabled);
    EXPECT_EQ(feb.pixelEnableMask, enabled ? pixelMasks[port] : 0);
    EXPECT_EQ(feb.nEnabledPixels, port == 0 || port == 63 ? 2 : 0);
    const auto first = thresholds.begin() + static_cast<std::ptrdiff_t>(32 * port);
    EXPECT_EQ(feb.thresholds, enabled ? std::vector<short>(first, first + 32) : std::vector<short>());
    EXPECT_FALSE(feb.isInstalled);
  }
}

TEST(PixelConfiguration, LeavesBoardsThatAreNotEnabledAsTheyWere) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddConfiguration(77);
  site.AddMasks(77, kDCM, 0);
  site.AddThresholds(77, kDCM);
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  auto& feb = DCMOf(run, 0, 5).febs[7];
  feb.isEnabled = true;
  feb.pixelEnableMask = 9;
  feb.nEnabledPixels = 2;
  feb.thresholds = {1, 2, 3};
  ASSERT_TRUE(run.LoadPixelInfo(0));
  EXPECT_TRUE(feb.isEnabled);
  EXPECT_EQ(feb.pixelEnableMask, 9);
  EXPECT_EQ(feb.nEnabledPixels, 2);
  EXPECT_THAT(feb.thresholds, ElementsAre(1, 2, 3));
  EXPECT_EQ(run.NEnabledFEBs(), 0);
  EXPECT_EQ(run.NTotalChannels(), 0);
}

TEST(PixelConfiguration, AsksOnlyForTheRunsDCMs) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM, "dcm-2-01-12"});
  site.AddOrdinaryConfiguration(77, {kDCM, "dcm-2-01-12", "dcm-2-03-06"});
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(run.NEnabledFEBs(), 128);
  EXPECT_EQ(DCMOf(run, 0, 12).febEnableMask, ~0ULL);
  EXPECT_EQ(DCMOf(run, 1, 5).febEnableMask, ~0ULL);
  EXPECT_EQ(DCMOf(run, 1, 6).febEnableMask, 0U);
  EXPECT_THAT(DCMOf(run, 1, 6).febs, IsEmpty());
}

TEST(PixelConfiguration, LeavesInactiveDCMsAsTheyWere) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM, "dcm-2-03-06"});
  site.AddOrdinaryConfiguration(77, {kDCM});
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  auto& inactive = DCMOf(run, 0, 6);
  inactive.isActive = false;
  inactive.febEnableMask = 5;
  ASSERT_TRUE(run.LoadPixelInfo(0)) << "it is not asked for either";
  EXPECT_EQ(inactive.febEnableMask, 5U);
  EXPECT_EQ(run.NEnabledFEBs(), 64);
}

TEST(PixelConfiguration, OfARunWithoutDCMsIsEmptyAndAsksNothing) {
  const ConfiguredSite site;
  site.AddRun(kRun, 9999, {});
  RunHistory run(kRun, "Birch");
  CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  const Asked asked;
  EXPECT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(asked.Statements(), 0);
  EXPECT_EQ(run.NEnabledFEBs(), 0);
  EXPECT_EQ(run.NTotalChannels(), 0);
  EXPECT_TRUE(Peer::LoadedFlags(run).pixel);
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines)
      << "it goes through both look-ups";
  EXPECT_EQ(output.StandardError(), "");
}

TEST(PixelConfiguration, IsLoadedOnce) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddOrdinaryConfiguration(77, {kDCM});
  RunHistory run(kRun, "Birch");
  {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadPixelInfo(0));
  }
  CapturedOutput output;
  const Asked asked;
  EXPECT_TRUE(run.LoadPixelInfo(0));
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(asked.Statements(), 0);
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(run.NTotalChannels(), 2048);
}

TEST(PixelConfiguration, IsNotAskedForWhenTheRunIsMissing) {
  const ConfiguredSite site;
  RunHistory run(kRun, "Birch");
  Peer::NTotalChannels(run) = 7;
  Peer::NEnabledFEBs(run) = 8;
  CapturedOutput output;
  const Asked asked;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_EQ(asked.Statements(), 1) << "the runs table";
  EXPECT_EQ(run.NTotalChannels(), 7);
  EXPECT_EQ(run.NEnabledFEBs(), 8);
  EXPECT_EQ(output.StandardOutput(), "");
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
}

TEST(PixelConfiguration, IsNotAskedForWhenTheHardwareCannotBeLoaded) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddOrdinaryConfiguration(77, {kDCM});
  site.Execute("DROP TABLE public.feb_comm_cables");
  RunHistory run(kRun, "Birch");
  run.SetMaxLoadRetries(0);
  Peer::NTotalChannels(run) = 7;
  Peer::NEnabledFEBs(run) = 8;
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_EQ(run.NTotalChannels(), 7);
  EXPECT_EQ(run.NEnabledFEBs(), 8);
  EXPECT_EQ(output.StandardOutput(), kHardwareLine);
  EXPECT_THAT(output.StandardError(), testing::StartsWith("Query failed: SELECT btrim("));
  EXPECT_THAT(output.StandardError(), testing::Not(testing::HasSubstr("LoadPixelInfo")));
}

TEST(PixelConfiguration, SetsTheDetectorInTheEnvironmentAndLeavesItSet) {
  const EnvironmentVariable before("BRIODAQ_ENVIRONMENT", "Cedar");
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddOrdinaryConfiguration(77, {kDCM});
  const CapturedOutput output;
  {
    RunHistory run(kRun, "Birch");
    ASSERT_TRUE(run.LoadDAQRunHistory());
    ASSERT_TRUE(run.LoadHardwareInfo());
    EXPECT_STREQ(std::getenv("BRIODAQ_ENVIRONMENT"), "Cedar");
    ASSERT_TRUE(run.LoadPixelInfo(0));
  }
  EXPECT_STREQ(std::getenv("BRIODAQ_ENVIRONMENT"), "Birch");
}

/// A configuration that is not valid: what it lacks, as SQL on one that is whole.
struct Flaw {
  const char* name;
  const char* sql;
};

void PrintTo(const Flaw& flaw, std::ostream* stream) { *stream << flaw.name; }

class InvalidPixelConfiguration : public testing::TestWithParam<Flaw> {};

TEST_P(InvalidPixelConfiguration, ZeroesTheCountsAndStoresNothingElse) {
  const ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM, "dcm-2-03-06"});
  site.AddOrdinaryConfiguration(77, {kDCM, "dcm-2-03-06"});
  site.Execute(GetParam().sql);
  RunHistory run(kRun, "Birch");
  Peer::NTotalChannels(run) = 7;
  Peer::NEnabledFEBs(run) = 8;
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadPixelInfo(0));
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines);
  EXPECT_EQ(output.StandardError(), kNoValidData) << "one attempt, and no word of giving up";
  EXPECT_THAT(messages.All(), testing::Not(IsEmpty()));
  EXPECT_EQ(run.NTotalChannels(), 0);
  EXPECT_EQ(run.NEnabledFEBs(), 0);
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
  for (const std::size_t number : {5U, 6U}) {
    const auto& dcm = DCMOf(run, 0, number);
    EXPECT_EQ(dcm.febEnableMask, 0U);
    for (const auto& feb : dcm.febs) {
      EXPECT_FALSE(feb.isEnabled);
      EXPECT_EQ(feb.pixelEnableMask, 0);
      EXPECT_EQ(feb.nEnabledPixels, 0);
      EXPECT_THAT(feb.thresholds, IsEmpty());
    }
  }
  EXPECT_EQ(site.OpenConnections(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Flaws, InvalidPixelConfiguration,
    testing::Values(
        Flaw{"NoConfiguration", "DELETE FROM daqconfig.configurations"},
        Flaw{"NoMasks", "DELETE FROM daqconfig.enable_masks"},
        Flaw{"NoThresholds", "DELETE FROM daqconfig.thresholds"},
        Flaw{"OneDCMWithoutMasks", "DELETE FROM daqconfig.enable_masks WHERE dcm_name = 'dcm-2-03-06'"},
        Flaw{"OneDCMWithoutThresholds", "DELETE FROM daqconfig.thresholds WHERE dcm_name = 'dcm-2-03-05'"},
        Flaw{"NoMasksTable", "DROP TABLE daqconfig.enable_masks CASCADE"},
        Flaw{"NoThresholdsTable", "DROP TABLE daqconfig.thresholds CASCADE"}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace brio::test
