// Questions that the index of boards answers, against the same questions answered by the run's records.
#include <memory>
#include <random>
#include <utility>

#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::dbi {
namespace {

using Peer = RunHistoryTestPeer;
constexpr unsigned int kAllFacts = 7;

unsigned int Channel(unsigned int diblock, unsigned int dcm, unsigned int port, unsigned int pixel) {
  return 2U << 28U | diblock << 22U | dcm << 16U | port << 8U | pixel;
}

/// What can be asked of a channel, as one text.
template <class Asked>
std::string Answers(RunHistory& run, const Asked& channel) {
  bool thresholdKnown = false;
  bool gainKnown = false;
  const int threshold = run.GetThreshold(channel, thresholdKnown);
  const float gain = run.GetPixelGain(channel, gainKnown);
  return std::to_string(threshold) + (thresholdKnown ? " " : "? ") + std::to_string(gain) +
         (gainKnown ? " " : "? ") + (run.HasAPD(channel) ? "APD" : "no APD");
}

class IndexedRun : public testing::Test {
protected:
  IndexedRun() : nowhere_("BRIO_DATABASE", "host=/nowhere"), run_(13000, "Birch") {
    Peer::SetLoaded(run_, true, true, true, true);
  }
  bool OneIn(int n) { return std::uniform_int_distribution<int>(1, n)(random_) == 1; }
  int AnyOf(std::initializer_list<int> values) {
    const auto position = std::uniform_int_distribution<std::size_t>(0, values.size() - 1)(random_);
    return *(values.begin() + position);
  }

  void Fill(RunHistory::FEB& feb) {
    feb.isInstalled = !OneIn(5);
    feb.isEnabled = !OneIn(5);
    feb.pixelEnableMask = static_cast<std::int32_t>(random_());
    feb.thresholds.resize(static_cast<std::size_t>(AnyOf({0, 5, 32, 32, 32, 40})));
    feb.pixelGains.resize(static_cast<std::size_t>(AnyOf({0, 5, 32, 32, 32, 40})));
    for (auto& threshold : feb.thresholds) {
      threshold = static_cast<std::int16_t>(random_());
    }
    for (auto& gain : feb.pixelGains) {
      gain = static_cast<float>(random_() % 1000);
    }
  }
  void AddDiBlock(unsigned int number) {
    RunHistory::DiBlock diblock(static_cast<unsigned int>(AnyOf({2, 12, 12, 70})));
    diblock.number = static_cast<std::uint16_t>(number);
    diblock.isActive = OneIn(6);
    for (auto& dcm : diblock.dcms) {
      dcm.isActive = !OneIn(5);
      if (OneIn(8)) { dcm.number = 0xFFFF; }
      dcm.febEnableMask = random_() | random_();
      if (OneIn(2)) { continue; }
      dcm.febs.resize(static_cast<std::size_t>(AnyOf({1, 64, 70})));
      for (auto& feb : dcm.febs) {
        Fill(feb);
      }
    }
    Peer::DiBlocks(run_).push_back(std::move(diblock));
  }
  /// One board that has everything, with thresholds and gains from a number on.
  void AddWholeBoard(int from) {
    RunHistory::DiBlock diblock(12);
    diblock.number = 3;
    auto& dcm = diblock.dcms[3];
    dcm.isActive = true;
    dcm.febEnableMask = ~0ULL;
    dcm.febs.resize(64);
    auto& feb = dcm.febs[17];
    feb.isInstalled = feb.isEnabled = true;
    feb.pixelEnableMask = -1;
    for (int pixel = 0; pixel < 32; ++pixel) {
      feb.thresholds.push_back(static_cast<std::int16_t>(from + pixel));
      feb.pixelGains[static_cast<std::size_t>(pixel)] = static_cast<float>(from + pixel);
    }
    Peer::DiBlocks(run_).assign(1, diblock);
  }

  test::EnvironmentVariable nowhere_;
  /// Its records are at hand for changes, so it does without an index; copies of it make one.
  RunHistory run_;
  std::mt19937_64 random_{20};
  const unsigned int channel_ = Channel(3, 4, 17, 5);
  const std::string whole_ = "105 105.000000 APD";
};

TEST_F(IndexedRun, AnswersAsTheRecordsDo) {
  for (int repetition = 0; repetition < 6; ++repetition) {
    Peer::DiBlocks(run_).clear();
    // Also out of order, twice, and such as no channel can name.
    for (const unsigned int number : {1U, 2U, 4U, 3U, 4U, 14U, 15U, 63U, 64U, 0U}) {
      if (!OneIn(4)) { AddDiBlock(number); }
    }
    RunHistory indexed(run_);
    for (const unsigned int diblock : {0U, 1U, 2U, 3U, 4U, 13U, 14U, 63U}) {
      for (const unsigned int dcm : {0U, 1U, 2U, 6U, 12U, 13U, 63U}) {
        for (const unsigned int port : {0U, 1U, 17U, 31U, 63U, 64U, 69U, 255U}) {
          for (const unsigned int pixel : {0U, 4U, 5U, 31U, 32U, 39U, 255U}) {
            const unsigned int channel = Channel(diblock, dcm, port, pixel);
            ASSERT_EQ(Answers(indexed, channel), Answers(run_, channel))
                << diblock << "-" << dcm << "-" << port << "-" << pixel;
          }
        }
      }
    }
    for (unsigned int plane = 0; plane < 1024; plane += 3) {
      for (unsigned int cell = plane % 7; cell < 400; cell += 7) {
        const geo::OfflineChan channel(plane, cell);
        ASSERT_EQ(Answers(indexed, channel), Answers(run_, channel)) << plane << "," << cell;
      }
    }
    EXPECT_EQ(Peer::IndexedFacts(indexed), kAllFacts);
    EXPECT_EQ(Peer::IndexedFacts(run_), 0U);
  }
}

TEST_F(IndexedRun, OutlivesTheRunThatItWasCopiedFrom) {
  AddWholeBoard(100);
  auto first = std::make_unique<RunHistory>(run_);
  EXPECT_EQ(Answers(*first, channel_), whole_);
  RunHistory copy(*first);
  RunHistory assigned;
  assigned = *first;
  first.reset();
  EXPECT_EQ(Peer::IndexedFacts(copy), 0U);
  EXPECT_EQ(Answers(copy, channel_), whole_);
  EXPECT_EQ(Answers(assigned, channel_), whole_);
}

TEST_F(IndexedRun, MovesWithItsRecords) {
  AddWholeBoard(100);
  RunHistory first(run_);
  EXPECT_EQ(Answers(first, channel_), whole_);
  RunHistory moved(std::move(first));
  EXPECT_EQ(Peer::IndexedFacts(moved), kAllFacts);
  EXPECT_EQ(Peer::IndexedFacts(first), 0U);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(Answers(moved, channel_), whole_);
  RunHistory assigned(1, "Alder");
  assigned = std::move(moved);
  EXPECT_EQ(Answers(assigned, channel_), whole_);
}

TEST_F(IndexedRun, TakesTheAnswersOfTheRunThatIsAssigned) {
  AddWholeBoard(100);
  RunHistory run(run_);
  EXPECT_EQ(Answers(run, channel_), whole_);
  AddWholeBoard(200);
  run = run_;
  EXPECT_EQ(Answers(run, channel_), "205 205.000000 APD");
  Peer::DiBlocks(run_).clear();
  RunHistory other(run);
  EXPECT_EQ(Answers(other, channel_), "205 205.000000 APD");
  other = run_;
  EXPECT_EQ(Answers(other, channel_), "4095? 0.000000? no APD");
  const RunHistory& itself = run;
  run = itself;
  EXPECT_EQ(Answers(run, channel_), "205 205.000000 APD");
}

TEST_F(IndexedRun, ForgetsWithTheCaches) {
  AddWholeBoard(100);
  RunHistory run(run_);
  EXPECT_EQ(Answers(run, channel_), whole_);
  run.SetRunNumber(1);  // simulated
  EXPECT_EQ(Answers(run, channel_), "4095? 0.000000? APD");
  RunHistory other(run_);
  EXPECT_EQ(Answers(other, channel_), whole_);
  other.SetDetector(briodaq::cnv::Alder);
  other.SetRunNumber(1);
  EXPECT_EQ(Answers(other, channel_), "4095? 0.000000? APD");
}

/// The offline channels are those of the detector that the run has now.
TEST_F(IndexedRun, FollowsTheDetector) {
  const auto& nearMap = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Alder);
  const auto logical = nearMap.getLogicalChannel(channel_);
  const geo::OfflineChan offline(nearMap.getPlane(logical), nearMap.getCell(logical));
  AddWholeBoard(100);
  EXPECT_EQ(Answers(run_, offline), "4095? 0.000000? no APD");  // the far detector has another board there
  run_.SetDetector(briodaq::cnv::Alder);
  Peer::SetLoaded(run_, true, true, true, true);
  AddWholeBoard(100);
  const auto& farMap = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  const auto there = farMap.getDAQChannel(logical);
  ASSERT_EQ(farMap.getDiBlock(there), 3U);
  auto& dcms = Peer::DiBlocks(run_)[0].dcms;
  auto& other = dcms[farMap.getDCM(there) - 1];
  other = dcms[3];
  other.febs[farMap.getFEB(there)] = other.febs[17];
  other.febs[farMap.getFEB(there)].thresholds.assign(32, 7);
  RunHistory run(run_);
  EXPECT_EQ(Answers(run, channel_), whole_);
  EXPECT_EQ(Answers(run, offline), whole_);
}

TEST_F(IndexedRun, LearnsMoreAsMoreIsLoaded) {
  AddWholeBoard(100);
  RunHistory run(run_);
  Peer::SetLoaded(run, true, true, false, false);
  EXPECT_TRUE(run.HasAPD(channel_));
  EXPECT_EQ(Peer::IndexedFacts(run), 1U);
  Peer::SetLoaded(run, true, true, true, false);
  bool ok = false;
  EXPECT_EQ(run.GetThreshold(channel_, ok), 105);
  EXPECT_EQ(Peer::IndexedFacts(run), 3U);
  Peer::SetLoaded(run, true, true, true, true);
  EXPECT_EQ(run.GetPixelGain(channel_, ok), 105.0F);
  EXPECT_TRUE(ok);
  EXPECT_EQ(Peer::IndexedFacts(run), kAllFacts);
}

TEST_F(IndexedRun, HasNoAPDInADiBlockThatIsNotGood) {
  AddWholeBoard(100);
  RunHistory run(run_);
  EXPECT_TRUE(run.HasAPD(channel_));
  run.SetUseGoodDiBlockMask(true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0x3FFF & ~4);
  const test::CapturedOutput output;
  EXPECT_FALSE(run.HasAPD(channel_));
  run.SetUseGoodDiBlockMask(false);
  EXPECT_TRUE(run.HasAPD(channel_));
}

TEST_F(IndexedRun, GivesUpAloudWhereNoTryIsAllowed) {
  AddWholeBoard(100);
  RunHistory run(run_);
  EXPECT_EQ(Answers(run, channel_), whole_);
  run.SetMaxLoadRetries(-1);
  test::CapturedOutput output;
  bool ok = false;
  EXPECT_EQ(run.GetPixelGain(channel_, ok), 105.0F);
  EXPECT_TRUE(ok);
  EXPECT_EQ(output.StandardError(), "RunHistory::LoadPixelInfo giving up!\n");
}

}  // namespace
}  // namespace brio::dbi
