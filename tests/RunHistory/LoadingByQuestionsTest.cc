#include <algorithm>

#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;

unsigned int Channel(unsigned int diblock, unsigned int dcm, unsigned int port, unsigned int pixel = 0) {
  return daqchannelmap::DAQChannelMap::getInstance(2)->encodeDChan(2, diblock, dcm, port, pixel);
}

std::size_t Occurrences(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
    ++n;
  }
  return n;
}

class LoadingByQuestions : public testing::Test {
protected:
  test::EnvironmentVariable address_{"BRIO_DATABASE", test::server::Template("small")};
  test::CapturedMessages quiet_{"error"};  // boards with odd gains are reported
};

TEST_F(LoadingByQuestions, HasAPDLoadsTheHardwareOnly) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  EXPECT_TRUE(run.HasAPD(Channel(1, 1, 0)));
  const auto flags = Peer::LoadedFlags(run);
  EXPECT_TRUE(flags.daq && flags.hardware);
  EXPECT_FALSE(flags.pixel || flags.apdSettings);
}

/// The offline form asks for the hardware before it looks at the channel, as the DAQ form does.
TEST_F(LoadingByQuestions, HasAPDLoadsTheHardwareForAnOfflineChannelThatTheDetectorLacks) {
  const geo::OfflineChan none(896, 0);
  RunHistory real(13002, "Birch");
  test::CapturedOutput output;
  EXPECT_FALSE(real.HasAPD(none));
  EXPECT_TRUE(Peer::LoadedFlags(real).hardware);
  const auto before = ConnectionStatistics::Now();
  EXPECT_FALSE(real.HasAPD(none));
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);

  RunHistory simulated(5, "Birch");
  EXPECT_FALSE(simulated.HasAPD(none)) << "though every diblock is good";
  EXPECT_TRUE(Peer::LoadedFlags(simulated).hardware);
  EXPECT_EQ(simulated.GetDiBlocks().size(), 14U);
  EXPECT_EQ(output.StandardOutput(),
            "RunHistory: Loading FEB and APD installation information\n"
            "Looks like a MC run number - assume perfect + any mask\n");
}

TEST_F(LoadingByQuestions, GetFEBLoadsTheAPDSettingsFirst) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  const test::SentStatements sent;
  bool ok = false;
  const auto feb = run.GetFEB(Channel(1, 1, 0), ok);
  EXPECT_TRUE(ok);
  EXPECT_TRUE(feb.isInstalled && feb.isEnabled);
  EXPECT_FALSE(feb.thresholds.empty());
  EXPECT_NE(feb.voltage, 0);
  EXPECT_NE(feb.avgGain, 0.0F);
  const auto flags = Peer::LoadedFlags(run);
  EXPECT_TRUE(flags.daq && flags.hardware && flags.pixel && flags.apdSettings);
  const auto position = [&](const std::string& part) {
    const auto found = std::find_if(sent.Texts().begin(), sent.Texts().end(),
                                    [&](const auto& text) { return text.find(part) != std::string::npos; });
    return found - sent.Texts().begin();
  };
  EXPECT_LT(position("apd_settings"), position("apd_pixel_m"));
  EXPECT_LT(position("apd_pixel_m"), position("enable_masks"));
  EXPECT_LT(position("enable_masks"), static_cast<std::ptrdiff_t>(sent.Texts().size()));
}

TEST_F(LoadingByQuestions, ALoadedRunAsksNothing) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  bool ok = false;
  run.GetFEB(Channel(1, 1, 0), ok);
  const auto before = ConnectionStatistics::Now();
  run.GetFEB(Channel(14, 12, 63), ok);
  run.GetGain(Channel(1, 2, 1), ok);
  run.HasAPD(Channel(1, 2, 1));
  EXPECT_EQ(ConnectionStatistics::Now().statementsSent, before.statementsSent);
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

TEST_F(LoadingByQuestions, OfADiBlockThatTheRunLacksHaveDefaults) {
  RunHistory run(13003, "Birch");  // diblocks 5 to 14
  test::CapturedOutput output;
  bool ok = true;
  EXPECT_FALSE(run.HasAPD(Channel(1, 1, 0)));
  run.GetFEB(Channel(1, 1, 0), ok);
  EXPECT_FALSE(ok);
  // Nothing more was loaded for it.
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
  EXPECT_TRUE(run.HasAPD(Channel(5, 1, 0)));
  run.GetFEB(Channel(5, 1, 0), ok);
  EXPECT_TRUE(ok);
}

TEST_F(LoadingByQuestions, ABoardWithoutALocationHasGainZeroAndIsOk) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  bool ok = false;
  EXPECT_EQ(run.GetGain(Channel(12, 2, 1), ok), 0.0F);  // an APD, but no FEB
  EXPECT_TRUE(ok);
  EXPECT_EQ(run.GetPixelGains(Channel(12, 2, 1), ok), std::vector<float>(32, 100.0F));
  EXPECT_EQ(gLocToFA.count({briodaq::cnv::Birch, 12, 2, 1}), 0U);
}

TEST_F(LoadingByQuestions, AFailedPixelLoadIsTriedAgainAtEveryCall) {
  RunHistory run(13013, "Birch");  // its configuration has no thresholds
  test::CapturedOutput output;
  bool ok = true;
  for (int call = 0; call < 3; ++call) {
    run.GetFEB(Channel(1, 1, 0), ok);
    EXPECT_FALSE(ok);
  }
  EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_FALSE(Peer::LoadedFlags(run).pixel);
  EXPECT_EQ(Occurrences(output.StandardError(), "RunHistory::LoadPixelInfo failed to get valid data\n"), 3U);
  EXPECT_EQ(Occurrences(output.StandardOutput(), "Pull APD Info from DB\n"), 1U);
}

TEST_F(LoadingByQuestions, NegativeRetriesSpeakUpAtEveryCall) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  bool ok = false;
  run.GetFEB(Channel(1, 1, 0), ok);
  ASSERT_TRUE(ok);
  run.SetMaxLoadRetries(-1);
  run.GetGain(Channel(1, 1, 0), ok);
  run.GetGain(Channel(1, 1, 0), ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(output.StandardError(),
            "RunHistory::LoadPixelInfo giving up!\nRunHistory::LoadPixelInfo giving up!\n");
}

TEST_F(LoadingByQuestions, ARunThatIsNotThereHasDefaults) {
  RunHistory run(14999, "Birch");
  test::CapturedOutput output;
  bool ok = true;
  EXPECT_FALSE(run.HasAPD(Channel(1, 1, 0)));
  EXPECT_EQ(run.GetGain(Channel(1, 1, 0), ok), 0.0F);
  EXPECT_FALSE(ok);
  EXPECT_EQ(output.StandardError(),
            "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n"
            "RunHistory::LoadDAQRunHistory: failed to find the run in the runs table.\n");
}

/// Both forms of every question, for every channel of the far detector.
TEST_F(LoadingByQuestions, BothFormsAnswerAlikeForEveryChannel) {
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadAllDetInfo());
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(2);
  int installed = 0;
  int live = 0;
  for (unsigned int plane = 0; plane < 896 && !HasFailure(); ++plane) {
    for (unsigned int cell = 0; cell < 384; ++cell) {
      const geo::OfflineChan offline(plane, cell);
      const unsigned int channel = map.getDAQChannel(map.encodeLChan(2, plane, cell));
      const auto& board = run.GetDiBlocks()[map.getDiBlock(channel) - 1]
                              .dcms[map.getDCM(channel) - 1]
                              .febs[map.getFEB(channel)];
      ASSERT_EQ(run.HasAPD(channel), board.isInstalled);
      ASSERT_EQ(run.HasAPD(offline), board.isInstalled);
      installed += board.isInstalled ? 1 : 0;
      bool ok = false;
      bool okOffline = false;
      const float gain = run.GetGain(channel, ok);
      ASSERT_EQ(run.GetGain(offline, okOffline), gain);
      ASSERT_EQ(okOffline, ok);
      ASSERT_EQ(gain, ok ? board.avgGain : 0.0F);
      live += ok ? 1 : 0;
      const float pixelGain = run.GetPixelGain(channel, ok);
      ASSERT_EQ(run.GetPixelGain(offline, okOffline), pixelGain);
      ASSERT_EQ(okOffline, ok);
      ASSERT_EQ(pixelGain, ok ? board.pixelGains[map.getPixel(channel)] : 0.0F);
      const auto gains = run.GetPixelGains(channel, ok);
      ASSERT_EQ(run.GetPixelGains(offline, okOffline), gains);
      ASSERT_EQ(gains, ok ? board.pixelGains : std::vector<float>(32, 0.0F));
      const auto feb = run.GetFEB(channel, ok);
      const auto febOffline = run.GetFEB(offline, okOffline);
      ASSERT_EQ(okOffline, ok);
      ASSERT_EQ(febOffline.thresholds, feb.thresholds);
      ASSERT_EQ(febOffline.plane, feb.plane);
      ASSERT_EQ(feb.thresholds, ok ? board.thresholds : std::vector<std::int16_t>());
    }
  }
  int boards = 0;
  for (const auto& diblock : run.GetDiBlocks()) {
    boards += diblock.nInstrumentedFEBs;
  }
  EXPECT_EQ(installed, 32 * boards);
  EXPECT_GT(live, installed * 9 / 10);
  EXPECT_LT(live, installed);
}

TEST_F(LoadingByQuestions, OfASimulatedRunGoByTheMaskForEveryChannel) {
  RunHistory run(1000000, "Birch");
  run.SetUseGoodDiBlockMask(true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0x2A55);
  test::CapturedOutput output;
  const auto before = ConnectionStatistics::Now();
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(2);
  for (unsigned int plane = 0; plane < 896; ++plane) {
    const bool good = ((0x2A55U >> (plane / 64)) & 1U) != 0;
    for (unsigned int cell = 0; cell < 384; ++cell) {
      const unsigned int channel = map.getDAQChannel(map.encodeLChan(2, plane, cell));
      bool ok = true;
      ASSERT_EQ(run.HasAPD(channel), good) << plane;
      ASSERT_EQ(run.HasAPD(geo::OfflineChan(plane, cell)), good) << plane;
      ASSERT_EQ(run.GetPixelGain(channel, ok), 0.0F);
      ASSERT_FALSE(ok);
    }
  }
  EXPECT_EQ(ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

}  // namespace
}  // namespace brio::dbi
