#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;

/// A far-detector channel by its bits, also where the encoders would refuse.
unsigned int Channel(unsigned int diblock, unsigned int dcm, unsigned int port, unsigned int pixel = 0) {
  return 2U << 28U | diblock << 22U | dcm << 16U | port << 8U | pixel;
}

/// A run whose one board, at diblock 3, DCM 4, port 17, answers; everything counts as loaded.
class OneBoard : public testing::Test {
protected:
  OneBoard() : address_("BRIO_DATABASE", "host=/nowhere"), run_(13000, "Birch") {
    Peer::SetLoaded(run_, true, true, true, true);
    RunHistory::DiBlock diblock(12);
    diblock.number = 3;
    auto& dcm = diblock.dcms[3];
    dcm.isActive = true;
    dcm.number = 4;
    dcm.febEnableMask = std::uint64_t{1} << 17U;
    dcm.febs.resize(64);
    auto& feb = dcm.febs[17];
    feb.isInstalled = feb.isEnabled = true;
    feb.avgGain = 97.5F;
    feb.voltage = 400;
    for (std::size_t pixel = 0; pixel < 32; ++pixel) {
      feb.pixelGains[pixel] = 90.0F + static_cast<float>(pixel);
    }
    Peer::DiBlocks(run_).push_back(diblock);
  }

  RunHistory::DiBlock& DiBlock() { return Peer::DiBlocks(run_)[0]; }
  RunHistory::DCM& DCM() { return DiBlock().dcms[3]; }
  RunHistory::FEB& Board() { return DCM().febs[17]; }
  void ExpectDefaults(unsigned int channel) {
    bool ok = true;
    const auto feb = run_.GetFEB(channel, ok);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(feb.isInstalled);
    EXPECT_EQ(feb.voltage, 0);
    EXPECT_EQ(feb.avgGain, 0.0F);
    EXPECT_EQ(feb.pixelGains, std::vector<float>(32, 100.0F));
    ok = true;
    EXPECT_EQ(run_.GetGain(channel, ok), 0.0F);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(run_.GetPixelGain(channel, ok), 0.0F);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(run_.GetPixelGains(channel, ok), std::vector<float>(32, 0.0F));
    EXPECT_FALSE(ok);
  }

  test::EnvironmentVariable address_;
  RunHistory run_;
  const unsigned int channel_ = Channel(3, 4, 17, 5);
};

TEST_F(OneBoard, Answers) {
  EXPECT_TRUE(run_.HasAPD(channel_));
  bool ok = false;
  const auto feb = run_.GetFEB(channel_, ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(feb.voltage, 400);
  EXPECT_EQ(run_.GetGain(channel_, ok), 97.5F);
  EXPECT_TRUE(ok);
  EXPECT_EQ(run_.GetPixelGain(channel_, ok), 95.0F);
  EXPECT_TRUE(ok);
  EXPECT_EQ(run_.GetPixelGains(channel_, ok), Board().pixelGains);
  EXPECT_TRUE(ok);
}

TEST_F(OneBoard, NeedsItsBitOfTheEnableMask) {
  DCM().febEnableMask = ~DCM().febEnableMask;
  ExpectDefaults(channel_);
  EXPECT_TRUE(run_.HasAPD(channel_));
}

TEST_F(OneBoard, NeedsToBeEnabled) {
  Board().isEnabled = false;
  ExpectDefaults(channel_);
  EXPECT_TRUE(run_.HasAPD(channel_));
}

TEST_F(OneBoard, NeedsToBeInstalled) {
  Board().isInstalled = false;
  ExpectDefaults(channel_);
  EXPECT_FALSE(run_.HasAPD(channel_));
}

TEST_F(OneBoard, NeedsADiBlockWhoseFlagIsClear) {
  DiBlock().isActive = true;
  ExpectDefaults(channel_);
  EXPECT_FALSE(run_.HasAPD(channel_));
}

TEST_F(OneBoard, NeedsADCMWithANumber) {
  DCM().number = 0xFFFF;
  ExpectDefaults(channel_);
  EXPECT_TRUE(run_.HasAPD(channel_));
}

TEST_F(OneBoard, HasNoAPDOnADCMThatTookNoPart) {
  DCM().isActive = false;
  EXPECT_FALSE(run_.HasAPD(channel_));
  bool ok = false;
  EXPECT_EQ(run_.GetGain(channel_, ok), 97.5F);  // this one does not ask
  EXPECT_TRUE(ok);
}

TEST_F(OneBoard, HasNoAPDInADiBlockThatIsNotGood) {
  run_.SetUseGoodDiBlockMask(true);
  run_.SetUseCustomMask(true);
  run_.SetCustomDiBlockMask(0x3FFF & ~4);
  test::CapturedOutput output;
  EXPECT_FALSE(run_.HasAPD(channel_));
  bool ok = false;
  run_.GetGain(channel_, ok);
  EXPECT_TRUE(ok);  // this one does not ask
}

TEST_F(OneBoard, ChannelsBeyondTheListsHaveDefaults) {
  for (const unsigned int channel :
       {Channel(3, 0, 17), Channel(3, 13, 17), Channel(3, 63, 17), Channel(3, 4, 64), Channel(3, 4, 255),
        Channel(2, 4, 17), Channel(0, 4, 17), Channel(15, 4, 17), Channel(63, 63, 255, 255), 0U,
        0xFFFFFFFFU}) {
    ExpectDefaults(channel);
    EXPECT_FALSE(run_.HasAPD(channel)) << channel;
  }
}

TEST_F(OneBoard, APixelBeyondTheListHasNoGainButIsOk) {
  bool ok = false;
  EXPECT_EQ(run_.GetPixelGain(Channel(3, 4, 17, 31), ok), 121.0F);
  for (const unsigned int pixel : {32U, 255U}) {
    ok = false;
    EXPECT_EQ(run_.GetPixelGain(Channel(3, 4, 17, pixel), ok), 0.0F);
    EXPECT_TRUE(ok);
  }
  Board().pixelGains.resize(5);
  EXPECT_EQ(run_.GetPixelGain(channel_, ok), 0.0F);
  EXPECT_TRUE(ok);
}

TEST_F(OneBoard, OfflineChannelsThatTheDetectorLacksHaveDefaults) {
  for (const auto& [plane, cell] :
       {std::pair{896U, 0U}, {0U, 384U}, {16383U, 16383U}, {16384U, 0U}, {0U, 65535U}}) {
    const geo::OfflineChan channel(plane, cell);
    bool ok = true;
    run_.GetFEB(channel, ok);
    EXPECT_FALSE(ok);
    ok = true;
    EXPECT_EQ(run_.GetGain(channel, ok), 0.0F);
    EXPECT_FALSE(ok);
    EXPECT_EQ(run_.GetPixelGain(channel, ok), 0.0F);
    EXPECT_EQ(run_.GetPixelGains(channel, ok), std::vector<float>(32, 0.0F));
    EXPECT_FALSE(ok);
    EXPECT_FALSE(run_.HasAPD(channel));
  }
}

/// Planes and cells are taken as 16-bit numbers.
TEST_F(OneBoard, PlanesAndCellsAreCutTo16Bits) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(2);
  const auto logical = map.getLogicalChannel(channel_);
  const geo::OfflineChan channel(map.getPlane(logical), map.getCell(logical));
  const geo::OfflineChan same(65536U + channel.Plane(), 131072U + channel.Cell());
  bool ok = false;
  EXPECT_EQ(run_.GetPixelGain(channel, ok), 95.0F);
  EXPECT_EQ(run_.GetPixelGain(same, ok), 95.0F);
  EXPECT_TRUE(ok);
  EXPECT_TRUE(run_.HasAPD(same));
}

/// Which run numbers consult the boards, and which only the mask.
TEST(SimulatedRuns, AreThoseOutside10000To999999) {
  const test::EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  for (const auto& [number, simulated] :
       {std::pair{10000, false}, {999999, false}, {9999, true}, {1000000, true}, {-1, true}, {0, true}}) {
    RunHistory run(number, "Birch");
    Peer::SetLoaded(run, true, true, true, true);  // nothing is there
    EXPECT_EQ(run.HasAPD(Channel(3, 4, 17)), simulated) << number;
  }
}

TEST(SimulatedRuns, AnswerByTheMaskAlone) {
  const test::EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  RunHistory run(1, "Birch");
  run.SetUseGoodDiBlockMask(true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0b100'0000'0101);
  test::CapturedOutput output;
  for (unsigned int diblock = 0; diblock <= 14; ++diblock) {
    const bool good = diblock == 1 || diblock == 3 || diblock == 11;
    EXPECT_EQ(run.HasAPD(Channel(diblock, 4, 17)), good) << diblock;
    EXPECT_EQ(run.HasAPD(Channel(diblock, 0, 255)), good) << diblock;
    bool ok = true;
    run.GetFEB(Channel(diblock, 4, 17), ok);
    EXPECT_FALSE(ok);
  }
  ASSERT_EQ(run.GetDiBlocks().size(), 3U);
  run.SetUseGoodDiBlockMask(false);
  // Of the flag only: the diblocks that were left out are still absent.
  EXPECT_TRUE(run.HasAPD(Channel(2, 4, 17)));
  EXPECT_TRUE(run.HasAPD(Channel(0, 0, 0)));
  EXPECT_EQ(run.GetDiBlocks().size(), 3U);
}

TEST(SimulatedRuns, NeverHaveABoard) {
  const test::EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  for (const char* detector : {"Birch", "Alder"}) {
    RunHistory run(1, detector);
    test::CapturedOutput output;
    bool ok = true;
    const auto feb = run.GetFEB(Channel(1, 1, 0), ok);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(feb.isInstalled);
    EXPECT_EQ(run.GetPixelGains(Channel(1, 1, 0), ok), std::vector<float>(32, 0.0F));
    EXPECT_EQ(run.GetDiBlocks().empty(), false);
    EXPECT_EQ(output.StandardError(), "");
  }
}

}  // namespace
}  // namespace brio::dbi
