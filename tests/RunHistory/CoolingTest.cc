// The places kept for cooling and alarms.
#include <gtest/gtest.h>

#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-03-05";
const std::string kWarning = "WARNING: RunHistory::IsCooled() is not yet implemented!\n";

/// One enabled, installed board on diblock 3, DCM 5, port 63, which reads out plane 190, cells 288 to 319.
class Cooling : public testing::Test {
protected:
  Cooling() {
    site.AddRun(kRun, 77, {kDCM});
    site.AddBoard(3, 5, 63);
    site.AddOrdinaryConfiguration(77, {kDCM});
    run.SetRunNumber(kRun);
    run.SetDetector(std::string("Birch"));
  }
  void Load() {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadPixelInfo(0));
  }
  /// Asks, and expects the warning once and nothing else.
  template <class Channel>
  bool IsCooled(const Channel& asked) {
    CapturedOutput output;
    const bool cooled = run.IsCooled(asked);
    EXPECT_EQ(output.StandardError(), kWarning);
    EXPECT_EQ(output.StandardOutput(), "");
    return cooled;
  }
  RunHistory::DiBlock& DiBlock3() { return Peer::DiBlocks(run).at(0); }
  RunHistory::DCM& DCM5() { return DiBlock3().dcms[4]; }

  ConfiguredSite site;
  RunHistory run;
  const unsigned int channel = FarChannel(3, 5, 63, 0);
};

TEST_F(Cooling, OfABoardThatIsReadOutIsUnknown) {
  Load();
  ASSERT_TRUE(DCM5().febs[63].isEnabled);
  ASSERT_TRUE(DCM5().febs[63].isInstalled);
  EXPECT_FALSE(IsCooled(channel));
  EXPECT_FALSE(IsCooled(channel)) << "and it warns again";
}

TEST_F(Cooling, IsTheBoardsFlag) {
  Load();
  DCM5().febs[63].cooled = true;
  EXPECT_TRUE(IsCooled(channel));
  EXPECT_FALSE(IsCooled(FarChannel(3, 5, 62, 0)));
}

TEST_F(Cooling, ByOfflineChannelWarnsOnce) {
  Load();
  DCM5().febs[63].cooled = true;
  EXPECT_TRUE(IsCooled(geo::OfflineChan(190, 319)));
  EXPECT_FALSE(IsCooled(geo::OfflineChan(190, 287)));
  EXPECT_FALSE(IsCooled(geo::OfflineChan(896, 0)));
}

TEST_F(Cooling, NeedsAnActiveDCMAndIgnoresItsEnableMask) {
  Load();
  DCM5().febs[63].cooled = true;
  DCM5().febEnableMask = 0;
  EXPECT_TRUE(IsCooled(channel));
  DCM5().isActive = false;
  EXPECT_FALSE(IsCooled(channel));
}

TEST_F(Cooling, NeedsEveryPiece) {
  Load();
  DCM5().febs[63].cooled = true;
  ASSERT_TRUE(IsCooled(channel));
  EXPECT_FALSE(IsCooled(FarChannel(5, 5, 63, 0))) << "diblock";
  EXPECT_FALSE(IsCooled(FarChannel(3, 13, 63, 0))) << "DCM";
  EXPECT_FALSE(IsCooled(2U << 28U | 3U << 22U | 63U << 8U)) << "no DCM";
  EXPECT_FALSE(IsCooled(channel + (1U << 8U))) << "port 64";
  DiBlock3().isActive = true;
  EXPECT_FALSE(IsCooled(channel)) << "diblock still marked";
  DiBlock3().isActive = false;
  DCM5().number = 0xFFFF;
  EXPECT_FALSE(IsCooled(channel)) << "no DCM";
  DCM5().number = 5;
  DCM5().febs[63].isEnabled = false;
  EXPECT_FALSE(IsCooled(channel)) << "enabled";
  DCM5().febs[63].isEnabled = true;
  DCM5().febs[63].isInstalled = false;
  EXPECT_FALSE(IsCooled(channel)) << "installed";
  DCM5().febs[63].isInstalled = true;
  EXPECT_TRUE(IsCooled(channel));
}

TEST_F(Cooling, WarnsBeforeTheConfigurationIsLoaded) {
  CapturedOutput output;
  EXPECT_FALSE(run.IsCooled(channel));
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines);
  EXPECT_EQ(output.StandardError(), kWarning);
}

TEST_F(Cooling, WithoutAConfigurationWarnsThenSaysWhatTheLoaderSays) {
  site.Execute("DELETE FROM daqconfig.enable_masks");
  const CapturedMessages messages;
  CapturedOutput output;
  EXPECT_FALSE(run.IsCooled(channel));
  EXPECT_EQ(output.StandardError(), kWarning + kNoValidData);
}

TEST_F(Cooling, OfAnEnabledBoardIsFalseWhenTheLoaderGivesUp) {
  Load();
  DCM5().febs[63].cooled = true;
  run.SetMaxLoadRetries(-1);
  CapturedOutput output;
  EXPECT_FALSE(run.IsCooled(channel));
  EXPECT_EQ(output.StandardError(), kWarning + kGivingUp);
}

TEST_F(Cooling, IsNeverLoadedForADataRun) {
  Load();
  const Asked asked;
  CapturedOutput output;
  EXPECT_FALSE(run.LoadCoolingInfo());
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

TEST(CoolingOfASimulatedRun, CountsAsLoadedOnceTheRunIsBuilt) {
  RunHistory run(1, "Birch");
  EXPECT_FALSE(run.LoadCoolingInfo());
  CapturedOutput output;
  ASSERT_TRUE(run.LoadDAQRunHistory());
  EXPECT_TRUE(run.LoadCoolingInfo());
}

TEST(Alarms, CannotBeLoaded) {
  RunHistory run(1, "Birch");
  const auto before = Peer::LoadedFlags(run);
  CapturedOutput output;
  const Asked asked;
  for (const int argument : {-1, 0, 1, 2147483647}) {
    EXPECT_FALSE(run.LoadDCSAlarms(argument));
  }
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_TRUE(Peer::LoadedFlags(run) == before);
  EXPECT_EQ(output.StandardOutput() + output.StandardError(), "");
}

}  // namespace
}  // namespace brio::test
