// Why a value is not known, where the run's own answer does not tell.
#include <algorithm>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "arrays/Answers.h"
#include "tests/arrays/SampleRuns.h"

namespace brio::test {
namespace {

using arrays::Status;

TEST(StatusNames, AreAllDifferent) {
  std::set<std::string> names;
  for (int i = 0; i < arrays::kStatuses; ++i) {
    names.insert(arrays::NameOf(static_cast<Status>(i)));
  }
  EXPECT_EQ(names.size(), static_cast<std::size_t>(arrays::kStatuses));
}

TEST(StatusOf, DiblocksIsMaskedOrNotInTheRun) {
  const ArraysOfRun masked("Birch", 13010, "small", true);
  EXPECT_EQ(masked.boards.Find(7, 1, 0)->presence, Status::Masked);
  EXPECT_EQ(masked.boards.Find(8, 1, 0)->presence, Status::Known);
  const ArraysOfRun partial("Birch", 13003);
  EXPECT_EQ(partial.boards.Find(4, 1, 0)->presence, Status::NotInRun);
  EXPECT_EQ(partial.boards.Find(4, 1, 0)->installed.status, Status::NotInRun);
  EXPECT_EQ(ArraysOfRun("Birch", 14999).boards.Find(4, 1, 0)->presence, Status::RunNotLoaded);
}

TEST(StatusOf, GainsTellsOwnOnesFromOthers) {
  const ArraysOfRun whole("Birch", 13004);
  EXPECT_EQ(whole.boards.Find(12, 2, 42)->gain.status, Status::NeverMeasured);
  EXPECT_EQ(whole.boards.Find(12, 1, 0)->gain.status, Status::Replaced);
  EXPECT_EQ(whole.boards.Find(12, 1, 0)->gain.value, 100.0F);
  EXPECT_NEAR(static_cast<double>(whole.boards.Find(12, 1, 0)->measuredGain.value), 89.9, 1e-3);
  EXPECT_EQ(whole.boards.Find(12, 2, 15)->gain.status, Status::NotInstalled);
  EXPECT_EQ(whole.boards.Find(12, 8, 63)->gain.status, Status::NotEnabled);
  const ArraysOfRun partial("Birch", 13003);
  const auto* leftOut = partial.boards.Find(12, 1, 59);
  EXPECT_EQ(leftOut->gain.status, Status::LeftOut);
  EXPECT_EQ(leftOut->measuredGain.value, whole.boards.Find(12, 1, 59)->gain.value);
  const auto index = arrays::Layout::Of(briodaq::cnv::Birch).BoardAt(12, 1, 59) * arrays::kPixels + 3;
  EXPECT_EQ(partial.channels.channels[index].gainStatus, Status::LeftOut);
  EXPECT_EQ(partial.channels.MeasuredGain(index), whole.channels.channels[index].gain);
}

TEST(StatusOf, SettingsIsWhatTheTableHolds) {
  const ArraysOfRun run("Birch", 13000);
  const auto rows = server::Query(
      "small_birch",
      "SELECT dcm_name, port FROM slowcontrol.apd_settings WHERE config_id = 1001 AND temperature IS NULL");
  std::set<std::string> missing;
  for (const auto& row : rows) {
    missing.insert(row[0] + " " + row[1]);
  }
  ASSERT_FALSE(missing.empty());
  int notRecorded = 0;
  for (const auto& board : run.boards.boards) {
    if (board.voltage.status != Status::Known && board.voltage.status != Status::NotRecorded) { continue; }
    const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    const bool isMissing = missing.count("dcm-2-" + two(board.place.diblock) + "-" + two(board.place.dcm) +
                                         " " + std::to_string(board.place.port)) > 0;
    ASSERT_EQ(board.temperature.status, isMissing ? Status::NotRecorded : Status::Known);
    notRecorded += isMissing ? 1 : 0;
  }
  EXPECT_GT(notRecorded, 0);
}

TEST(StatusOf, SerialsTellsWhenAnotherRunsHardwareWasLoaded) {
  ArraysOfRun first("Birch", 13000);
  EXPECT_TRUE(first.boards.Find(2, 3, 15)->apd.IsKnown());
  const ArraysOfRun second("Birch", 13001);
  const auto again = arrays::MakeBoards(first.run, first.parts);
  EXPECT_EQ(again.Find(2, 3, 15)->apd.status, Status::Superseded);
  EXPECT_EQ(again.Find(2, 3, 15)->gain.status, first.boards.Find(2, 3, 15)->gain.status);
}

TEST(OptionalAnswers, AreThereExactlyWhereTheValueIsKnown) {
  ArraysOfRun sample("Birch", 13004);
  auto& run = sample.run;
  const auto& places = arrays::ChannelsOf(briodaq::cnv::Birch);
  for (std::size_t i = 0; i < places.size(); i += 517) {
    const auto id = places[i].daqChannel;
    const auto& channel = sample.channels.channels[i];
    const auto& board = sample.boards.boards[i / arrays::kPixels];
    const auto threshold = arrays::Threshold(run, id);
    ASSERT_EQ(threshold.has_value(), channel.thresholdStatus == Status::Known);
    if (threshold) { ASSERT_EQ(*threshold, channel.threshold); }
    ASSERT_EQ(arrays::PixelGain(run, id).has_value(), channel.gainStatus == Status::Known);
    ASSERT_EQ(arrays::Gain(run, id).has_value(), board.gain.IsKnown());
    ASSERT_EQ(arrays::Temperature(run, id).has_value(), board.temperature.IsKnown());
    ASSERT_EQ(arrays::Voltage(run, id).value_or(-1), board.voltage.IsKnown() ? board.voltage.value : -1);
    const geo::OfflineChan offline(places[i].plane, places[i].cell);
    ASSERT_EQ(arrays::Threshold(run, offline), threshold);
    ASSERT_EQ(arrays::APDSerial(run, offline), arrays::APDSerial(run, id));
  }
  EXPECT_FALSE(arrays::Gain(run, geo::OfflineChan(896, 0)));
}

TEST(Layout, NumbersEveryChannelOnce) {
  for (const auto detector : {briodaq::cnv::Alder, briodaq::cnv::Birch, briodaq::cnv::Cedar}) {
    const auto& layout = arrays::Layout::Of(detector);
    std::size_t index = 0;
    for (const auto channel : arrays::ChannelsOf(detector)) {
      ASSERT_EQ(layout.ChannelAt(channel.daqChannel), index);
      ASSERT_EQ(layout.ChannelAt(channel.plane, channel.cell), index);
      ASSERT_EQ(layout.BoardAt(channel.diblock, channel.dcm, channel.port), index / arrays::kPixels);
      ++index;
    }
    EXPECT_EQ(index, layout.Boards().size() * arrays::kPixels);
  }
  EXPECT_EQ(arrays::ChannelsOf(briodaq::cnv::Birch).size(), 344064U);
  EXPECT_EQ(arrays::BoardsOf(briodaq::cnv::Alder).size(), 629U);
  const auto& far = arrays::Layout::Of(briodaq::cnv::Birch);
  EXPECT_EQ(far.Planes(), 896);
  EXPECT_EQ(far.CellsOf(895), 384);
  EXPECT_EQ(far.DiBlocks(), 14);
  EXPECT_EQ(far.ChannelAt(896, 0), arrays::kNowhere);
  EXPECT_EQ(far.ChannelAt(0, 384), arrays::kNowhere);
  EXPECT_EQ(far.BoardAt(15, 1, 0), arrays::kNowhere);
}

}  // namespace
}  // namespace brio::test
