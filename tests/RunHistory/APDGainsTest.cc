// Gains that LoadAPDSettings brings from the location map to the far detector's boards.
#include <cmath>
#include <limits>
#include <stdexcept>

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
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kRun = 13001;
const std::string kDCM = "dcm-2-03-05";
const std::vector<float> kNominal(32, 100.0F);

RunHistory::FEB& Board(RunHistory& run, std::size_t port) {
  return Peer::DiBlocks(run).at(0).dcms.at(4).febs.at(port);
}

TEST(APDGains, ReachTheirBoard) {
  ConfiguredSite site;
  site.AddRun(kRun, 77, {"dcm-2-01-01", "dcm-2-02-01", kDCM});
  site.AddBoard(3, 5, 63, [](int index) { return std::to_string(95 + index / 8.0); });
  site.AddBoard(3, 5, 0, "95");
  RunHistory run(kRun, "Birch");
  CapturedMessages messages("error");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  const auto& boards = Peer::DiBlocks(run).at(2).dcms.at(4).febs;
  EXPECT_EQ(boards[0].avgGain, 95.0F);
  EXPECT_EQ(boards[0].pixelGains, std::vector<float>(32, 95.0F));
  EXPECT_EQ(boards[63].avgGain, 96.9375F);
  // The test stand counts down columns of eight, the DAQ along rows of four.
  for (std::size_t pixel = 0; pixel < 32; ++pixel) {
    const auto index = static_cast<float>(8 * (pixel % 4) + pixel / 4);
    EXPECT_EQ(boards[63].pixelGains[pixel], 95.0F + index / 8.0F) << pixel;
  }
  EXPECT_EQ(boards[1].avgGain, 0.0F);
  EXPECT_EQ(boards[1].pixelGains, kNominal);
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"), IsEmpty());
}

TEST(APDGains, AreStoredAfterTheBoardsOfTheMapWereCounted) {
  ConfiguredSite site;
  site.AddRun(kRun, 77, {"dcm-2-01-01", "dcm-2-02-01", kDCM});
  site.AddBoard(3, 5, 7);
  site.AddBoard(3, 6, 8);
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  ASSERT_EQ(run.NInstrumentedFEBs(), 1);
  Peer::DiBlocks(run).at(2).dcms.at(4).febs.at(7).pixelGains.resize(16);
  EXPECT_THROW(run.LoadAPDSettings(), std::out_of_range);
  EXPECT_EQ(run.NInstrumentedFEBs(), 2) << "those of the map";
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
}

TEST(APDGains, TooFarFromNominalAreReportedAndReplaced) {
  ConfiguredSite site;
  site.AddRun(kRun, 77, {"dcm-2-01-01", "dcm-2-02-01", kDCM});
  site.AddBoard(3, 5, 7, "89.9");
  site.AddBoard(3, 5, 8, "110.125");
  RunHistory run(kRun, "Birch");
  CapturedMessages messages("error");
  CapturedOutput output;
  ASSERT_TRUE(run.LoadAPDSettings());
  EXPECT_THAT(
      messages.Texts(Severity::Error, "RunHistory"),
      ElementsAre("average gain for APD 0000001 connected to dcm-2-3-5-7 is 89.9 : 100 expected so "
                  "default to that",
                  "average gain for APD 0000002 connected to dcm-2-3-5-8 is 110.125 : 100 expected so "
                  "default to that"));
  for (const std::size_t port : {7U, 8U}) {
    const auto& board = Peer::DiBlocks(run).at(2).dcms.at(4).febs[port];
    EXPECT_EQ(board.avgGain, 100.0F);
    EXPECT_EQ(board.pixelGains, kNominal);
  }
  EXPECT_EQ(output.StandardError(), "");
}

TEST(APDGains, CountEveryMappedLocationAsInstrumented) {
  ConfiguredSite site;
  site.AddRun(kRun, 77, {kDCM});
  site.AddBoard(3, 5, 7);
  site.AddBoard(3, 5, 8);
  site.AddBoard(3, 6, 8);   // not the run's DCM
  site.AddBoard(14, 1, 8);  // not the run's diblock
  RunHistory run(kRun, "Birch");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  EXPECT_EQ(run.NInstrumentedFEBs(), 2);
  const CapturedMessages messages("error");
  ASSERT_TRUE(run.LoadAPDSettings());
  EXPECT_EQ(run.NInstrumentedFEBs(), 4);
  EXPECT_EQ(dbi::gLocToFA.size(), 4U);
}

TEST(APDGains, ThatABoardHasNoRoomForLeaveTheLoaderAndTheNextLoadStoresThem) {
  ConfiguredSite site;
  site.AddRun(kRun, 77, {"dcm-2-01-01", "dcm-2-02-01", kDCM});
  site.AddBoard(3, 5, 7, "95");
  RunHistory run(kRun, "Birch");
  const CapturedMessages messages("error");
  const CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  auto& board = Peer::DiBlocks(run).at(2).dcms.at(4).febs[7];
  board.pixelGains.resize(31);
  EXPECT_THROW(run.LoadAPDSettings(), std::out_of_range);
  EXPECT_FALSE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_EQ(site.OpenConnections(), 0);
  board.pixelGains.resize(32);
  EXPECT_TRUE(run.LoadAPDSettings());
  EXPECT_TRUE(Peer::LoadedFlags(run).apdSettings);
  EXPECT_EQ(board.pixelGains, std::vector<float>(32, 95.0F));
}

/// Boards on diblock 1, DCM 5, all installed, and a location map of the test's own.
class StoredGains : public testing::Test {
protected:
  StoredGains() {
    auto& diblocks = Peer::DiBlocks(run);
    for (std::uint16_t number = 1; number <= 2; ++number) {
      RunHistory::DiBlock diblock(12);
      diblock.number = number;
      for (auto& dcm : diblock.dcms) {
        dcm.isActive = true;
        dcm.febs.resize(64);
        for (auto& feb : dcm.febs) {
          feb.isInstalled = true;
        }
      }
      diblocks.push_back(diblock);
    }
    dbi::gLocToFA.clear();
  }
  void Map(std::uint32_t diblock, std::uint32_t dcm, std::uint32_t port, const std::vector<float>& gains) {
    dbi::APDInfo apd;
    apd.serial = "1234567";
    apd.pixelGains = gains;
    dbi::gLocToFA[{2, diblock, dcm, port}] = {dbi::FEBInfo(), apd};
  }
  void ExpectUntouched(const RunHistory::FEB& board) {
    EXPECT_EQ(board.avgGain, 0.0F);
    EXPECT_EQ(board.pixelGains, kNominal);
  }
  std::vector<std::string> Errors() const { return messages.Texts(Severity::Error, "RunHistory"); }

  RunHistory run{kRun, "Birch"};
  const CapturedMessages messages{"error"};
};

TEST_F(StoredGains, OfExactlyTenAboveOrBelowAreAccepted) {
  Map(1, 5, 0, std::vector<float>(32, 90.0F));
  Map(1, 5, 1, std::vector<float>(32, 110.0F));
  const float below = std::nextafterf(90.0F, 0.0F);
  const float above = std::nextafterf(110.0F, 200.0F);
  Map(1, 5, 2, std::vector<float>(32, below));
  Map(1, 5, 3, std::vector<float>(32, above));
  Peer::StoreMappedGains(run);
  EXPECT_EQ(Board(run, 0).avgGain, 90.0F);
  EXPECT_EQ(Board(run, 0).pixelGains, std::vector<float>(32, 90.0F));
  EXPECT_EQ(Board(run, 1).avgGain, 110.0F);
  EXPECT_EQ(Board(run, 1).pixelGains, std::vector<float>(32, 110.0F));
  EXPECT_EQ(Board(run, 2).avgGain, 100.0F);
  EXPECT_EQ(Board(run, 3).avgGain, 100.0F);
  EXPECT_THAT(Errors(), testing::SizeIs(2));
}

TEST_F(StoredGains, AreSummedInOrderInSinglePrecision) {
  std::vector<float> gains(32, 0.0F);
  gains[0] = 3.3e9F;
  for (std::size_t i = 1; i < 31; ++i) {
    gains[i] = 100.0F;
  }
  gains[31] = -3.3e9F;
  float sum = 0.0F;
  for (const float gain : gains) {
    sum += gain;
  }
  ASSERT_NE(sum, 3000.0F) << "the order must matter";
  Map(1, 5, 0, gains);
  Peer::StoreMappedGains(run);
  std::ostringstream expected;
  expected << "average gain for APD 1234567 connected to dcm-2-1-5-0 is " << sum / 32
           << " : 100 expected so default to that";
  EXPECT_THAT(Errors(), ElementsAre(expected.str()));
}

TEST_F(StoredGains, OfAnAPDWithFewerPixelsAreStillDividedBy32) {
  Board(run, 0).pixelGains.assign(32, 7.0F);
  Map(1, 5, 0, std::vector<float>(16, 100.0F));
  Peer::StoreMappedGains(run);
  EXPECT_THAT(Errors(), ElementsAre("average gain for APD 1234567 connected to dcm-2-1-5-0 is 50 : 100 "
                                    "expected so default to that"));
  EXPECT_EQ(Board(run, 0).avgGain, 100.0F);
  for (std::size_t pixel = 0; pixel < 32; ++pixel) {
    EXPECT_EQ(Board(run, 0).pixelGains[pixel], pixel < 16 ? 100.0F : 7.0F);
  }
}

TEST_F(StoredGains, OfAnAPDWithMorePixelsThanTheBoardThrow) {
  Map(1, 5, 0, std::vector<float>(33, 100.0F));
  EXPECT_THROW(Peer::StoreMappedGains(run), std::out_of_range);
}

TEST_F(StoredGains, ThatAreNotNumbersStay) {
  std::vector<float> gains(32, 100.0F);
  gains[3] = std::numeric_limits<float>::quiet_NaN();
  Map(1, 5, 0, gains);
  Peer::StoreMappedGains(run);
  EXPECT_TRUE(std::isnan(Board(run, 0).avgGain));
  EXPECT_TRUE(std::isnan(Board(run, 0).pixelGains[3]));
  EXPECT_EQ(Board(run, 0).pixelGains[4], 100.0F);
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(StoredGains, LeaveInactiveDCMsAndEmptyPortsAlone) {
  Map(1, 5, 0, std::vector<float>(32, 95.0F));
  Map(1, 6, 0, std::vector<float>(32, 95.0F));
  Board(run, 0).isInstalled = false;
  auto& sixth = Peer::DiBlocks(run)[0].dcms[5];
  sixth.isActive = false;
  Peer::StoreMappedGains(run);
  ExpectUntouched(Board(run, 0));
  ExpectUntouched(sixth.febs[0]);
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(StoredGains, LeaveADCMWithoutPortsAloneWhenItIsInactive) {
  Map(1, 6, 63, std::vector<float>(32, 95.0F));
  auto& sixth = Peer::DiBlocks(run)[0].dcms[5];
  sixth.isActive = false;
  sixth.febs.clear();
  Peer::StoreMappedGains(run);
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(StoredGains, GoToEveryDiBlockOfTheNumber) {
  Peer::DiBlocks(run)[1].number = 1;
  Map(1, 5, 0, std::vector<float>(32, 95.0F));
  Peer::StoreMappedGains(run);
  EXPECT_EQ(Board(run, 0).avgGain, 95.0F);
  EXPECT_EQ(Peer::DiBlocks(run)[1].dcms[4].febs[0].avgGain, 95.0F);
}

TEST_F(StoredGains, OfADiBlockNumberAboveTheNumberOfDiBlocksAreSkipped) {
  Peer::DiBlocks(run)[1].number = 3;
  Map(3, 5, 0, std::vector<float>(32, 95.0F));
  Peer::StoreMappedGains(run);
  ExpectUntouched(Peer::DiBlocks(run)[1].dcms[4].febs[0]);
}

TEST_F(StoredGains, OfPlacesOutsideTheDetectorAreCountedOnce) {
  Map(1, 0, 1, std::vector<float>(32, 95.0F));
  Map(1, 13, 2, std::vector<float>(32, 95.0F));
  Map(1, 12, 64, std::vector<float>(32, 95.0F));
  Map(1, 12, 63, std::vector<float>(32, 95.0F));
  Peer::StoreMappedGains(run);
  EXPECT_THAT(Errors(), ElementsAre("LoadAPDSettings: left out 3 rows that point outside the run's detector, "
                                    "the first: dcm-2-1-0-1"));
  EXPECT_EQ(Peer::DiBlocks(run)[0].dcms[11].febs[63].avgGain, 95.0F);
}

}  // namespace
}  // namespace brio::test
