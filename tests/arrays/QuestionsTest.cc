// Every element of the arrays beside what the run answers of the same channel.
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/arrays/SampleRuns.h"

namespace brio::test {
namespace {

using arrays::Status;
using testing::AllOf;
using testing::AnyOf;

struct SampleRun {
  const char* detector;
  int run;
  bool useMask;
  const char* size;
  bool hasThresholds = true;
};

void PrintTo(const SampleRun& sample, std::ostream* stream) {
  *stream << sample.size << ' ' << sample.detector << ' ' << sample.run << (sample.useMask ? " masked" : "");
}

/// The same number, or both no number.
bool Same(float a, float b) { return a == b || (a != a && b != b); }

/// What a run's answer may be called when the run gives one.
bool MayBeAnswered(Status status) {
  switch (status) {
    case Status::Known:
    case Status::NotRecorded:
    case Status::NeverMeasured:
    case Status::LeftOut:
    case Status::Replaced:
    case Status::NotFinite: return true;
    default: return false;
  }
}

class EveryElement : public testing::TestWithParam<SampleRun> {
protected:
  ArraysOfRun sample{GetParam().detector, GetParam().run, GetParam().size, GetParam().useMask};
  dbi::RunHistory& run = sample.run;
};

TEST_P(EveryElement, OfTheChannelsIsWhatTheRunAnswers) {
  const auto& places = arrays::ChannelsOf(run.GetDetectorId());
  ASSERT_EQ(sample.channels.channels.size(), places.size());
  const bool isBirch = run.GetDetectorId() == briodaq::cnv::Birch;
  const CapturedOutput output;  // what cannot be loaded is asked for again by each question
  const bool areAllLoaded = sample.parts.configuration.ok && sample.parts.settings.ok;
  const std::size_t step = areAllLoaded ? 1 : 9973;
  int nThresholds = 0;
  for (std::size_t i = 0; i < places.size(); i += step) {
    const auto& channel = sample.channels.channels[i];
    const unsigned int id = places[i].daqChannel;
    ASSERT_EQ(channel.place.daqChannel, id);
    bool ok = false;
    const int threshold = run.GetThreshold(id, ok);
    ASSERT_EQ(channel.threshold, threshold) << "channel " << id;
    ASSERT_EQ(channel.thresholdStatus == Status::Known, ok) << "channel " << id;
    nThresholds += ok ? 1 : 0;
    const float gain = run.GetPixelGain(id, ok);
    ASSERT_TRUE(Same(channel.gain, gain)) << "channel " << id << ": " << channel.gain << " " << gain;
    const bool mayBe =
        MayBeAnswered(channel.gainStatus) || (!isBirch && channel.gainStatus == Status::NotForDetector);
    if (isBirch || !ok) {
      ASSERT_EQ(mayBe && ok, ok) << "channel " << id << ": " << NameOf(channel.gainStatus);
    }
    if (isBirch) { ASSERT_EQ(MayBeAnswered(channel.gainStatus), ok) << "channel " << id; }
    if (!isBirch) { ASSERT_NE(channel.gainStatus, Status::Known); }
  }
  EXPECT_EQ(nThresholds > 0, GetParam().hasThresholds);
}

TEST_P(EveryElement, OfTheBoardsIsWhatTheRunAnswers) {
  const auto& places = arrays::BoardsOf(run.GetDetectorId());
  ASSERT_EQ(sample.boards.boards.size(), places.size());
  const CapturedOutput output;
  const bool areAllLoaded = sample.parts.configuration.ok && sample.parts.settings.ok;
  for (std::size_t i = 0; i < places.size(); i += areAllLoaded ? 1 : 311) {
    const auto& board = sample.boards.boards[i];
    const auto& place = places[i];
    const unsigned int id = arrays::ChannelsOf(run.GetDetectorId())[i * arrays::kPixels].daqChannel;
    SCOPED_TRACE(id);
    ASSERT_EQ(board.place.diblock, place.diblock);
    ASSERT_EQ(board.place.port, place.port);
    ASSERT_EQ(board.installed.value, run.HasAPD(id));
    bool ok = false;
    const auto feb = run.GetFEB(id, ok);
    ASSERT_TRUE(Same(board.gain.value, run.GetGain(id, ok)));
    ASSERT_EQ(board.voltage.value, feb.voltage);
    ASSERT_TRUE(Same(board.temperature.value, feb.temperature));
    ASSERT_EQ(board.temperatureControl.value, feb.temperatureEnabled);
    for (const auto status :
         {board.voltage.status, board.temperature.status, board.temperatureControl.status}) {
      ASSERT_EQ(MayBeAnswered(status), ok) << NameOf(status);
    }
    if (board.enabledPixels.IsKnown()) { ASSERT_EQ(board.enabledPixels.value, feb.nEnabledPixels); }
    if (ok && !feb.thresholds.empty() && feb.nEnabledPixels > 0) {
      double sum = 0;
      for (unsigned int pixel = 0; pixel < 32; ++pixel) {
        if ((static_cast<unsigned int>(feb.pixelEnableMask) >> pixel & 1U) != 0) {
          sum += feb.thresholds[pixel];
        }
      }
      ASSERT_EQ(board.threshold.status, Status::Known);
      ASSERT_DOUBLE_EQ(board.threshold.value, sum / feb.nEnabledPixels);
    } else {
      ASSERT_NE(board.threshold.status, Status::Known);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Small, EveryElement,
    testing::Values(SampleRun{"Birch", 13000, false, "small"},
                    SampleRun{"Birch", 13003, false, "small"},           // a part of the detector
                    SampleRun{"Birch", 13010, true, "small"},            // some diblocks are masked
                    SampleRun{"Birch", 13007, true, "small", false},     // all are
                    SampleRun{"Birch", 13011, false, "small"},           // odd resources
                    SampleRun{"Birch", 13015, false, "small", false},    // no configuration
                    SampleRun{"Birch", 13016, false, "small"},           // half of each diblock
                    SampleRun{"Birch", 14999, false, "small", false},    // no such run
                    SampleRun{"Birch", 1000000, false, "small", false},  // simulated
                    SampleRun{"Alder", 11000, false, "small"}, SampleRun{"Alder", 11002, false, "small"},
                    SampleRun{"Alder", 11003, false, "small", false},
                    SampleRun{"Alder", 1, false, "small", false},
                    SampleRun{"Cedar", 12000, false, "small", false}));
INSTANTIATE_TEST_SUITE_P(Full, EveryElement,
                         testing::Values(SampleRun{"Birch", 13002, false, "full"},
                                         SampleRun{"Birch", 13003, true, "full"},
                                         SampleRun{"Alder", 11001, false, "full"}));

}  // namespace
}  // namespace brio::test
