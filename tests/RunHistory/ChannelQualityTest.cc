// Channel records that clients add.
#include <gtest/gtest.h>

#include <iostream>

#include "tests/RunHistory/Peer.h"
#include "tests/support/Locale.h"
#include "tests/support/Output.h"

namespace brio::test {
namespace {

using dbi::BadChan_t;
using dbi::ChanInfo_t;
using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;

const geo::OfflineChan kChannel(3, 7);

TEST(ChannelRecords, HaveTheirDefaults) {
  const ChanInfo_t info;
  EXPECT_EQ(info.occupancy, -6.0F);
  EXPECT_EQ(info.coincidence, 0.0F);
  EXPECT_EQ(info.time, 0);
  const BadChan_t bad;
  EXPECT_FALSE(bad.isBad);
  EXPECT_EQ(bad.time, 0);
}

TEST(ChannelRecords, HoldFromAfterTheirTime) {
  RunHistory run;
  run.SetChanInfo(kChannel, 0.1F, 1.5F, 10);
  run.SetChanInfo(kChannel, 0.2F, 2.5F, 20);
  const struct {
    long time;
    float occupancy;
    float coincidence;
  } answers[] = {{-5, -6.0F, 0.0F}, {10, -6.0F, 0.0F}, {11, 0.1F, 1.5F},  {15, 0.1F, 1.5F},
                 {20, 0.1F, 1.5F},  {21, 0.2F, 2.5F},  {1000, 0.2F, 2.5F}};
  for (const auto& [time, occupancy, coincidence] : answers) {
    EXPECT_EQ(run.Occupancy(kChannel, time), occupancy) << time;
    EXPECT_EQ(run.Coincidence(kChannel, time), coincidence) << time;
  }
}

TEST(ChannelRecords, SayWhetherAChannelWasBad) {
  RunHistory run;
  EXPECT_FALSE(run.IsBad(kChannel, 100));
  run.SetIsBad(kChannel, true, 10);
  run.SetIsBad(kChannel, false, 20);
  EXPECT_FALSE(run.IsBad(kChannel, 10)) << "before the first record";
  EXPECT_TRUE(run.IsBad(kChannel, 11));
  EXPECT_TRUE(run.IsBad(kChannel, 20));
  EXPECT_FALSE(run.IsBad(kChannel, 21));
  EXPECT_FALSE(run.IsBad(geo::OfflineChan(7, 3), 11));
}

TEST(ChannelRecords, OfEqualTimesAnswerFromBeforeTheGroup) {
  RunHistory run;
  run.SetChanInfo(kChannel, 0.1F, 1.0F, 10);
  run.SetChanInfo(kChannel, 0.2F, 2.0F, 10);
  EXPECT_EQ(run.Occupancy(kChannel, 10), -6.0F);
  EXPECT_EQ(run.Coincidence(kChannel, 10), 0.0F);
  EXPECT_EQ(run.Occupancy(kChannel, 11), 0.2F);
  EXPECT_EQ(run.Coincidence(kChannel, 11), 2.0F);
  run.SetChanInfo(kChannel, 0.3F, 3.0F, 12);
  run.SetChanInfo(kChannel, 0.4F, 4.0F, 12);
  EXPECT_EQ(run.Occupancy(kChannel, 12), 0.2F);
}

TEST(ChannelRecords, OutOfOrderStopAtTheFirstThatIsNotEarlier) {
  RunHistory run;
  run.SetIsBad(kChannel, true, 10);
  run.SetIsBad(kChannel, false, 30);
  run.SetIsBad(kChannel, true, 20);
  run.SetIsBad(kChannel, true, 40);
  EXPECT_TRUE(run.IsBad(kChannel, 25)) << "the record of time 10";
  EXPECT_TRUE(run.IsBad(kChannel, 30));
  EXPECT_TRUE(run.IsBad(kChannel, 31)) << "past 30 the record of time 20 stands last before 40";
  run.SetIsBad(kChannel, false, 5);
  EXPECT_TRUE(run.IsBad(kChannel, 40));
  EXPECT_FALSE(run.IsBad(kChannel, 41)) << "the record of time 5 stands last";
}

TEST(ChannelRecords, OfUnknownChannelsAreAddedEmptyByQuestions) {
  RunHistory run;
  EXPECT_EQ(run.Coincidence(kChannel, 100), 0.0F);
  EXPECT_EQ(run.Occupancy(geo::OfflineChan(1, 1), 100), -6.0F);
  ASSERT_EQ(Peer::ChanInfoHistory(run).size(), 2U);
  EXPECT_TRUE(Peer::ChanInfoHistory(run).at(kChannel).Records().empty());
  EXPECT_TRUE(Peer::BadChanHistory(run).empty());
  EXPECT_FALSE(run.IsBad(kChannel, 100));
  ASSERT_EQ(Peer::BadChanHistory(run).size(), 1U);
  EXPECT_TRUE(Peer::BadChanHistory(run).at(kChannel).Records().empty());
}

TEST(ChannelRecords, AreKeptApartByKindAndChannel) {
  RunHistory run;
  run.SetChanInfo(kChannel, 0.5F, 1.0F, 10);
  run.SetIsBad(geo::OfflineChan(3, 8), true, 10);
  EXPECT_FALSE(run.IsBad(kChannel, 11));
  EXPECT_EQ(run.Occupancy(geo::OfflineChan(3, 8), 11), -6.0F);
}

TEST(ChannelRecords, OutliveAChangeOfRun) {
  RunHistory run;
  run.SetChanInfo(kChannel, 0.5F, 1.0F, 10);
  run.SetIsBad(kChannel, true, 10);
  run.SetRunNumber(13001);
  run.SetDetector(briodaq::cnv::Birch);
  EXPECT_EQ(run.Occupancy(kChannel, 11), 0.5F);
  EXPECT_TRUE(run.IsBad(kChannel, 11));
}

TEST(ChannelRecords, GoWithACopyAndAreThenApart) {
  RunHistory run;
  run.SetIsBad(kChannel, true, 20);
  run.SetIsBad(kChannel, false, 10);
  RunHistory copy = run;
  copy.SetIsBad(kChannel, false, 30);
  EXPECT_FALSE(copy.IsBad(kChannel, 31));
  EXPECT_EQ(Peer::BadChanHistory(run).at(kChannel).Records().size(), 2U);
  EXPECT_EQ(Peer::BadChanHistory(copy).at(kChannel).Records().size(), 3U);
}

TEST(PrintedChannelRecords, AreOneLineEach) {
  RunHistory run;
  run.SetChanInfo(kChannel, 0.5F, 2.0F, 10);
  CapturedOutput output;
  run.PrintChanInfo();
  EXPECT_EQ(output.StandardOutput(), "3,7,0.5\n");
  EXPECT_EQ(output.StandardError(), "");
}

TEST(PrintedChannelRecords, ComeByChannelThenAsAdded) {
  RunHistory run;
  run.SetChanInfo(geo::OfflineChan(10, 0), 1e-7F, 2.0F, 10);
  run.SetChanInfo(geo::OfflineChan(3, 20), 0.25F, 2.0F, 30);
  run.SetChanInfo(geo::OfflineChan(3, 7), 1234567.0F, 2.0F, 10);
  run.SetChanInfo(geo::OfflineChan(3, 20), -6.0F, 2.0F, 20);
  run.SetIsBad(geo::OfflineChan(1, 1), true, 10);
  run.Occupancy(geo::OfflineChan(0, 0), 10);
  CapturedOutput output;
  run.PrintChanInfo();
  EXPECT_EQ(output.StandardOutput(), "3,7,1.23457e+06\n3,20,0.25\n3,20,-6\n10,0,1e-07\n");
}

TEST(PrintedChannelRecords, AreAlikeWhateverTheFormatOfStandardOutput) {
  RunHistory run;
  run.SetChanInfo(geo::OfflineChan(895, 383), 0.125F, 2.0F, 10);
  CapturedOutput output;
  const OddFormat odd(std::cout);
  run.PrintChanInfo();
  EXPECT_EQ(output.StandardOutput(), "895,383,0.125\n");
}

TEST(PrintedChannelRecords, AreNothingWithoutRecords) {
  RunHistory run;
  CapturedOutput output;
  run.PrintChanInfo();
  EXPECT_EQ(output.StandardOutput(), "");
}

}  // namespace
}  // namespace brio::test
