// GetThreshold, by DAQ channel and by offline channel.
#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

constexpr int kRun = 13001;
constexpr int kNone = 4095;
const std::string kDCM = "dcm-2-03-05";

/// Diblock 3, DCM 5: ports 0, 1, 2 and 63 have hardware; port 1 has only pixel 31 off, port 2 is not enabled,
/// port 3 is enabled and not installed.
class ThresholdQuestions : public testing::Test {
protected:
  ThresholdQuestions() {
    site.AddRun(kRun, 77, {kDCM, "dcm-2-04-01"});
    for (const int port : {0, 1, 2, 63}) {
      site.AddBoard(3, 5, port);
    }
    site.AddConfiguration(77);
    std::vector<int> pixelMasks(64, -1);
    pixelMasks[1] = 0x7FFFFFFF;
    site.AddMasks(77, kDCM, ~4LL, pixelMasks);
    site.AddMasks(77, "dcm-2-04-01", -1);
    std::vector<short> thresholds(2048, 50);
    thresholds[0] = -1;
    thresholds[1] = 4095;
    thresholds[31] = -32768;
    thresholds[2047] = 32767;
    site.AddThresholds(77, kDCM, thresholds);
    site.AddThresholds(77, "dcm-2-04-01");
    run.SetRunNumber(kRun);
    run.SetDetector(std::string("Birch"));
  }
  void Load() {
    const CapturedOutput output;
    ASSERT_TRUE(run.LoadPixelInfo(0));
  }
  RunHistory::DiBlock& DiBlock3() { return Peer::DiBlocks(run).at(0); }
  void ExpectThreshold(unsigned int channel, int threshold) {
    bool ok = false;
    EXPECT_EQ(run.GetThreshold(channel, ok), threshold);
    EXPECT_TRUE(ok);
  }
  void ExpectNone(unsigned int channel) {
    bool ok = true;
    EXPECT_EQ(run.GetThreshold(channel, ok), kNone);
    EXPECT_FALSE(ok);
  }

  ConfiguredSite site;
  RunHistory run;
};

TEST_F(ThresholdQuestions, LoadWhatTheyNeed) {
  const CapturedOutput output;
  ExpectThreshold(FarChannel(3, 5, 0, 2), 50);
  EXPECT_TRUE(Peer::LoadedFlags(run).pixel);
}

TEST_F(ThresholdQuestions, GiveTheStoredSignedValue) {
  Load();
  ExpectThreshold(FarChannel(3, 5, 0, 0), -1);
  ExpectThreshold(FarChannel(3, 5, 0, 1), 4095);
  ExpectThreshold(FarChannel(3, 5, 0, 31), -32768);
  ExpectThreshold(FarChannel(3, 5, 1, 30), 50);
  ExpectThreshold(FarChannel(3, 5, 63, 31), 32767);
}

TEST_F(ThresholdQuestions, HaveNoAnswerBeyondTheListOfABoard) {
  Load();
  DiBlock3().dcms[4].febs[0].thresholds.resize(5);
  ExpectThreshold(FarChannel(3, 5, 0, 4), 50);
  ExpectNone(FarChannel(3, 5, 0, 5));
  ExpectNone(FarChannel(3, 5, 0, 31));
  DiBlock3().dcms[4].febs[0].thresholds.clear();
  ExpectNone(FarChannel(3, 5, 0, 0));
}

TEST_F(ThresholdQuestions, TellPort63FromPort0) {
  for (const int on : {0, 63}) {
    SCOPED_TRACE(on);
    site.Execute("UPDATE daqconfig.enable_masks SET feb_enable_mask = 1::bigint << " + std::to_string(on) +
                 " WHERE dcm_name = '" + kDCM + "'");
    run.InvalidateCaches();
    Load();
    EXPECT_EQ(run.NEnabledFEBs(), 1 + 64) << "and those of the other DCM";
    for (const unsigned int port : {0U, 63U}) {
      const auto& board = DiBlock3().dcms[4].febs[port];
      EXPECT_EQ(board.isEnabled, static_cast<int>(port) == on);
      if (board.isEnabled) {
        ExpectThreshold(FarChannel(3, 5, port, 2), 50);
      } else {
        ExpectNone(FarChannel(3, 5, port, 2));
      }
    }
  }
}

TEST_F(ThresholdQuestions, HaveNoAnswerWhereNothingIsReadOut) {
  Load();
  const struct {
    const char* what;
    unsigned int channel;
  } channels[] = {{"diblock that the run lacks", FarChannel(5, 5, 0, 0)},
                  {"diblock without hardware", FarChannel(4, 1, 0, 0)},
                  {"DCM that the run lacks", FarChannel(3, 6, 0, 0)},
                  {"DCM beyond the diblock", FarChannel(3, 13, 0, 0)},
                  {"no DCM", 2U << 28U | 3U << 22U},
                  {"port beyond the DCM", FarChannel(3, 5, 0, 0) | 64U << 8U},
                  {"board that is not enabled", FarChannel(3, 5, 2, 0)},
                  {"board that is not installed", FarChannel(3, 5, 3, 0)},
                  {"pixel that is off", FarChannel(3, 5, 1, 31)},
                  {"pixel beyond the board", FarChannel(3, 5, 0, 0) | 32U},
                  {"no channel", 0U}};
  for (const auto& [what, channel] : channels) {
    SCOPED_TRACE(what);
    ExpectNone(channel);
  }
}

TEST_F(ThresholdQuestions, HaveNoAnswerOnADiBlockThatIsStillMarked) {
  Load();
  EXPECT_FALSE(DiBlock3().isActive);
  DiBlock3().isActive = true;
  ExpectNone(FarChannel(3, 5, 0, 0));
}

TEST_F(ThresholdQuestions, HaveNoAnswerFromADCMThatIsNone) {
  Load();
  DiBlock3().dcms[4].number = 0xFFFF;
  ExpectNone(FarChannel(3, 5, 0, 0));
}

TEST_F(ThresholdQuestions, NeedBothTheDCMsBitAndTheBoardsFlag) {
  Load();
  auto& dcm = DiBlock3().dcms[4];
  dcm.febEnableMask = ~1ULL;
  ExpectNone(FarChannel(3, 5, 0, 0));
  dcm.febEnableMask = 1ULL << 63U;
  ExpectThreshold(FarChannel(3, 5, 63, 31), 32767);
  dcm.febs[63].isEnabled = false;
  ExpectNone(FarChannel(3, 5, 63, 31));
}

TEST_F(ThresholdQuestions, DoNotAskWhetherTheDCMIsActive) {
  Load();
  DiBlock3().dcms[4].isActive = false;
  ExpectThreshold(FarChannel(3, 5, 0, 0), -1);
}

TEST_F(ThresholdQuestions, ByOfflineChannelAnswerAsByDAQChannel) {
  Load();
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(2);
  int nWithThreshold = 0;
  // Diblock 3 has planes 128 to 191; DCM 5 of view 0 holds cells 256 to 319.
  for (unsigned int plane = 126; plane < 194; ++plane) {
    for (unsigned int cell = 0; cell < 384; ++cell) {
      bool offlineOk = false;
      bool ok = false;
      const int threshold = run.GetThreshold(geo::OfflineChan(plane, cell), offlineOk);
      ASSERT_EQ(threshold, run.GetThreshold(map.getDAQChannel(map.encodeLChan(2, plane, cell)), ok));
      ASSERT_EQ(offlineOk, ok);
      nWithThreshold += ok ? 1 : 0;
    }
  }
  EXPECT_EQ(nWithThreshold, 32 + 31 + 32);
}

TEST_F(ThresholdQuestions, OfAChannelThatTheDetectorLacksHaveNoAnswer) {
  Load();
  bool ok = true;
  EXPECT_EQ(run.GetThreshold(geo::OfflineChan(896, 0), ok), kNone);
  EXPECT_FALSE(ok);
  ok = true;
  EXPECT_EQ(run.GetThreshold(geo::OfflineChan(20000, 0), ok), kNone);
  EXPECT_FALSE(ok);
}

TEST_F(ThresholdQuestions, AfterAFailedLoadHaveNoAnswer) {
  site.Execute("DELETE FROM daqconfig.thresholds");
  const CapturedMessages messages;
  CapturedOutput output;
  ExpectNone(FarChannel(3, 5, 0, 0));
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines);
  EXPECT_EQ(output.StandardError(), kNoValidData);
}

TEST_F(ThresholdQuestions, ByOfflineChannelAttemptAFailingLoadTwice) {
  site.Execute("DELETE FROM daqconfig.thresholds");
  const CapturedMessages messages;
  CapturedOutput output;
  bool ok = true;
  EXPECT_EQ(run.GetThreshold(geo::OfflineChan(128, 256), ok), kNone);
  EXPECT_FALSE(ok);
  EXPECT_EQ(output.StandardOutput(), std::string(kHardwareLine) + kPixelLines + kPixelLines);
  EXPECT_EQ(output.StandardError(), std::string(kNoValidData) + kNoValidData);
}

TEST(ThresholdQuestionsOfASimulatedRun, HaveNoAnswerAlsoWhereADCMHasFewerPorts) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  RunHistory run(1, "Alder");
  CapturedOutput output;
  const Asked asked;
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(1);
  for (const unsigned int diblock : {1U, 4U}) {
    for (const unsigned int port : {0U, 21U, 22U, 31U, 32U, 63U}) {
      for (const unsigned int dcm : {1U, 2U, 3U}) {
        bool ok = true;
        EXPECT_EQ(run.GetThreshold(map.encodeDChan(1, diblock, dcm, port, 31), ok), kNone);
        EXPECT_FALSE(ok);
      }
    }
  }
  EXPECT_EQ(asked.Connections(), 0);
  EXPECT_EQ(output.StandardError(), "");
}

}  // namespace
}  // namespace brio::test
