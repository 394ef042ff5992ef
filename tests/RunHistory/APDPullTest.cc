#include <gtest/gtest.h>

#include "framework/TimeStamp.h"
#include "framework/exception.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using test::APDRows;
using Texts = std::vector<std::string>;

std::vector<float> All(float gain) { return std::vector<float>(32, gain); }

APDRows APD(const std::string& serial, int number) {
  APDRows apd;
  apd.serial = serial;
  apd.item = 200000 + number;
  apd.module = 100000 + number;
  apd.connection = 500000 + number;
  return apd;
}

class APDPull : public testing::Test {
protected:
  APDsByModule Pull(const std::string& start = test::HardwareRows::kRunStart) {
    RunHistory run = test::RunStartingAt(start);
    test::CapturedOutput output;
    auto apds = test::PullAPDs(run);
    EXPECT_EQ(output.StandardOutput(), "Pull APD Info from DB\n");
    EXPECT_EQ(output.StandardError(), "");
    return apds;
  }

  test::HardwareRows rows_;
};

TEST_F(APDPull, FillsTheRecord) {
  rows_.Add(APD("0000042", 42));
  rows_.AddGains("0000042", 97.5);
  const auto apds = Pull();
  ASSERT_EQ(apds.size(), 1U);
  const auto& [module, apd] = *apds.begin();
  EXPECT_EQ(module, 100042U);
  EXPECT_EQ(apd.serial, "0000042");
  EXPECT_EQ(apd.barcodedItemId, 200042);
  EXPECT_EQ(apd.batchNo, 1);
  EXPECT_EQ(apd.targetDegC, -15);
  EXPECT_EQ(apd.vr, 385.25F);
  EXPECT_EQ(apd.module, 100042);
  EXPECT_EQ(apd.connectionId, 500042);
  EXPECT_EQ(apd.dateAdded, TTimeStamp(2013, 5, 6, 4, 5, 9).AsDouble());
  EXPECT_EQ(apd.pixelGains, All(97.5F));
}

TEST_F(APDPull, MissingNumbersAreZero) {
  APDRows apd = APD("0000042", 42);
  apd.vr = "";
  rows_.Add(apd);
  rows_.Execute("UPDATE public.apd_stats SET batch_no = NULL");
  rows_.AddGains("0000042", 97.5);
  rows_.Execute("UPDATE public.apd_pixel_m SET pixel_m = NULL WHERE pixel_col = 'A' AND pixel_row = 1");
  const auto record = Pull().at(100042);
  EXPECT_EQ(record.vr, 0.0F);
  EXPECT_EQ(record.batchNo, 0);
  EXPECT_EQ(record.pixelGains[0], 0.0F);
  EXPECT_EQ(record.pixelGains[1], 97.5F);
}

TEST_F(APDPull, NumbersBecomeFloats) {
  APDRows apd = APD("0000042", 42);
  apd.vr = "400.123456789";
  rows_.Add(apd);
  rows_.AddGains("0000042", 99.987654);
  const auto record = Pull().at(100042);
  EXPECT_EQ(record.vr, static_cast<float>(400.123456789));
  EXPECT_EQ(record.pixelGains, All(static_cast<float>(99.987654)));
}

TEST_F(APDPull, GainsAreThoseOfTheHighestBatchAtItsWarmestBelowZero) {
  rows_.Add(APD("0000042", 42));
  rows_.AddGains("0000042", 90, 1, -1);
  rows_.AddGains("0000042", 96, 10, -15);
  rows_.AddGains("0000042", 97, 10, -9);
  rows_.AddGains("0000042", 120, 10, 0);
  rows_.AddGains("0000042", 130, 11, 20);
  rows_.AddGains("0000042", 80, 9, -1);
  rows_.Execute(
      "DELETE FROM public.apd_pixel_m WHERE batch_no = 10 AND target_degc = -9 AND pixel_col = 'B'");
  rows_.Execute("DELETE FROM public.apd_pixel_m WHERE batch_no = 10 AND pixel_col = 'C' AND pixel_row = 8");
  auto expected = All(97.0F);
  for (std::size_t row = 0; row < 8; ++row) {
    expected[4 * row + 1] = 96.0F;
  }
  expected[30] = 100.0F;  // the highest batch lacks it
  EXPECT_EQ(Pull().at(100042).pixelGains, expected);
}

TEST_F(APDPull, FirstAPDWithoutGainsHasNominalOnes) {
  rows_.Add(APD("0000001", 1));
  rows_.Add(APD("0000002", 2));
  rows_.AddGains("0000002", 97.5);
  const auto apds = Pull();
  EXPECT_EQ(apds.at(100001).pixelGains, All(100.0F));
  EXPECT_EQ(apds.at(100002).pixelGains, All(97.5F));
}

TEST_F(APDPull, APDWithoutGainsTakesThoseOfTheRowBefore) {
  for (int number = 1; number <= 4; ++number) {
    rows_.Add(APD("000000" + std::to_string(number), number));
  }
  rows_.AddGains("0000001", 95);
  rows_.AddGains("0000004", 97);
  const auto apds = Pull();
  EXPECT_EQ(apds.at(100001).pixelGains, All(95.0F));
  EXPECT_EQ(apds.at(100002).pixelGains, All(95.0F));
  EXPECT_EQ(apds.at(100003).pixelGains, All(95.0F));
  EXPECT_EQ(apds.at(100004).pixelGains, All(97.0F));
}

TEST_F(APDPull, TheRowBeforeCountsEvenIfItWasNotStored) {
  rows_.Add(APD("0000001", 1));
  APDRows older = APD("0000002", 2);
  older.module = 100001;
  older.added = "2012-01-01 00:00:00Z";
  rows_.Add(older);
  rows_.Add(APD("0000003", 3));
  rows_.AddGains("0000001", 95);
  rows_.AddGains("0000002", 96);
  const auto apds = Pull();
  EXPECT_EQ(apds.at(100001).serial, "0000001");
  EXPECT_EQ(apds.at(100001).pixelGains, All(95.0F));
  EXPECT_EQ(apds.at(100003).pixelGains, All(96.0F));
}

/// The rows of one APD need not be those of one module.
TEST_F(APDPull, AnAPDOnTwoModulesHasItsGainsOnBoth) {
  rows_.Add(APD("0000001", 1));
  APDRows again = APD("0000001", 2);
  again.item = 200002;
  rows_.Add(again);
  rows_.AddGains("0000001", 95);
  const auto apds = Pull();
  ASSERT_EQ(apds.size(), 2U);
  EXPECT_EQ(apds.at(100001).serial, "0000001");
  EXPECT_EQ(apds.at(100002).serial, "0000001");
  EXPECT_EQ(apds.at(100001).pixelGains, All(95.0F));
  EXPECT_EQ(apds.at(100002).pixelGains, All(95.0F));
}

TEST_F(APDPull, ALaterRowReplacesAllOfTheRecord) {
  APDRows first = APD("0000001", 1);
  rows_.Add(first);
  APDRows second = APD("0000002", 2);
  second.module = first.module;
  second.added = "2014-05-06 14:35:09Z";
  second.batch = 7;
  second.temperature = -20;
  second.vr = "401.5";
  rows_.Add(second);
  rows_.AddGains("0000001", 95);
  rows_.AddGains("0000002", 96);
  const auto apds = Pull();
  ASSERT_EQ(apds.size(), 1U);
  const auto& apd = apds.at(100001);
  EXPECT_EQ(apd.serial, "0000002");
  EXPECT_EQ(apd.barcodedItemId, 200002);
  EXPECT_EQ(apd.batchNo, 7);
  EXPECT_EQ(apd.targetDegC, -20);
  EXPECT_EQ(apd.vr, 401.5F);
  EXPECT_EQ(apd.module, 100001);
  EXPECT_EQ(apd.connectionId, 500002);
  EXPECT_EQ(apd.pixelGains, All(96.0F));
}

/// Gains of an APD that is not among the installed ones are not those of a row before.
TEST_F(APDPull, AnAPDThatIsNotInstalledLendsNoGains) {
  rows_.Add(APD("0000001", 1));
  rows_.Add(APD("0000003", 3));
  rows_.AddGains("0000001", 95);
  rows_.AddGains("0000002", 96);
  EXPECT_EQ(Pull().at(100003).pixelGains, All(95.0F));
}

struct TwoAPDs {
  const char* name;
  const char* firstAdded;
  const char* secondAdded;
  const char* stored;
};

class TwoAPDsOnAModule : public APDPull, public testing::WithParamInterface<TwoAPDs> {};

TEST_P(TwoAPDsOnAModule, TheLaterAddedIsStoredAsDatesAreRead) {
  APDRows first = APD("0000001", 1);
  first.added = GetParam().firstAdded;
  rows_.Add(first);
  APDRows second = APD("0000002", 2);
  second.module = first.module;
  second.added = GetParam().secondAdded;
  rows_.Add(second);
  const auto apds = Pull();
  ASSERT_EQ(apds.size(), 1U);
  EXPECT_EQ(apds.at(100001).serial, GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Dates, TwoAPDsOnAModule,
    testing::Values(
        TwoAPDs{"Same", "2013-05-06 14:35:09Z", "2013-05-06 14:35:09Z", "0000001"},
        TwoAPDs{"LaterDay", "2013-05-06 14:35:09Z", "2013-05-07 00:00:00Z", "0000002"},
        TwoAPDs{"EarlierDay", "2013-05-06 00:00:00Z", "2013-05-05 23:59:59Z", "0000001"},
        // Of the time of day only the last digits of hour, minute and second are read.
        TwoAPDs{"LaterHourReadAsEarlier", "2013-05-06 09:00:00Z", "2013-05-06 10:00:00Z", "0000001"},
        TwoAPDs{"EarlierHourReadAsLater", "2013-05-06 20:00:00Z", "2013-05-06 19:00:00Z", "0000002"},
        TwoAPDs{"SameHourAsRead", "2013-05-06 04:05:09Z", "2013-05-06 14:35:29Z", "0000001"},
        TwoAPDs{"FractionNotRead", "2013-05-06 14:35:09Z", "2013-05-06 14:35:09.75Z", "0000001"},
        TwoAPDs{"LaterSecond", "2013-05-06 14:35:08.75Z", "2013-05-06 14:35:09Z", "0000002"},
        TwoAPDs{"DaysAreThoseOfUTC", "2013-05-06 23:00:00-05", "2013-05-06 23:30:00Z", "0000001"}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_F(APDPull, AnAPDsColdestStatisticsStay) {
  APDRows apd = APD("0000042", 42);
  apd.temperature = -8;
  rows_.Add(apd);
  apd.temperature = -12;
  apd.batch = 2;
  apd.vr = "401";
  rows_.Execute(test::HardwareRows::Statistics(apd));
  const auto record = Pull().at(100042);
  EXPECT_EQ(record.targetDegC, -12);
  EXPECT_EQ(record.batchNo, 2);
  EXPECT_EQ(record.vr, 401.0F);
}

struct Presence {
  const char* name;
  const char* added;
  const char* itemRemoved;
  const char* disconnected;
  bool present;
};

class APDAtTheStart : public APDPull, public testing::WithParamInterface<Presence> {};

TEST_P(APDAtTheStart, CountsFromItsRegistrationToItsRemoval) {
  APDRows apd = APD("0000042", 42);
  apd.added = GetParam().added;
  apd.itemRemoved = GetParam().itemRemoved;
  apd.disconnected = GetParam().disconnected;
  apd.connected = "2020-01-01 00:00:00Z";  // when it was connected is not asked
  rows_.Add(apd);
  EXPECT_EQ(Pull("2015-08-01 15:30:00").size(), GetParam().present ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Times, APDAtTheStart,
    testing::Values(Presence{"Added", "2015-08-01 15:29:59Z", "", "", true},
                    Presence{"AddedThen", "2015-08-01 15:30:00Z", "", "", false},
                    Presence{"AddedInAnotherZone", "2015-08-01 10:29:59-05", "", "", true},
                    Presence{"RemovedThen", "2013-05-06", "2015-08-01 15:30:00Z", "", false},
                    Presence{"RemovedLater", "2013-05-06", "2015-08-01 15:30:01Z", "", true},
                    Presence{"DisconnectedThen", "2013-05-06", "", "2015-08-01 15:30:00Z", false},
                    Presence{"DisconnectedLater", "2013-05-06", "", "2015-08-01 15:30:01Z", true},
                    Presence{"BothLater", "2013-05-06", "2016-01-01", "2016-01-01", true}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_F(APDPull, SaysWhatItFound) {
  for (int number = 1; number <= 3; ++number) {
    rows_.Add(APD("000000" + std::to_string(number), number < 3 ? number : 12));
  }
  rows_.Execute("UPDATE millpondprod_factory.module_apd_connection SET module = 100002 WHERE apd = 200012");
  const test::CapturedMessages messages("debug");
  EXPECT_EQ(Pull().size(), 2U);
  EXPECT_EQ(messages.Texts(Severity::Debug, "RunHistory"), Texts{"Found 3 apds in the db"});
  EXPECT_EQ(messages.Texts(Severity::Debug, "APDInfo"),
            Texts{"2 apds were installedprint out info for all APDs"});
}

TEST_F(APDPull, OfNothingIsEmpty) {
  const test::CapturedMessages messages("debug");
  EXPECT_TRUE(Pull().empty());
  EXPECT_EQ(messages.Texts(Severity::Debug, "RunHistory"), Texts{"Found 0 apds in the db"});
  EXPECT_EQ(messages.Texts(Severity::Debug, "APDInfo"),
            Texts{"0 apds were installedprint out info for all APDs"});
}

TEST(APDPullElsewhere, SaysSoAndSendsNothing) {
  const test::EnvironmentVariable database("BRIO_DATABASE", "host=/nowhere");
  for (const char* detector : {"Alder", "Cedar", "Damson", "Elder", "Fenwick"}) {
    RunHistory run(11000, detector);
    test::CapturedOutput output;
    const test::CapturedMessages messages("debug");
    const test::SentStatements sent;
    EXPECT_TRUE(test::PullAPDs(run).empty()) << detector;
    EXPECT_EQ(output.StandardOutput(), "Pull APD Info from DB\n") << detector;
    EXPECT_TRUE(sent.Texts().empty()) << detector;
    EXPECT_EQ(messages.All().size(), 1U) << detector;
    EXPECT_EQ(messages.Texts(Severity::Debug, "APDInfo"),
              Texts{"0 apds were installedprint out info for all APDs"});
  }
}

TEST(APDPullElsewhere, ThrowsForADetectorWithoutAName) {
  RunHistory run;
  test::CapturedOutput output;
  try {
    test::PullAPDs(run);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const cet::exception& error) {
    EXPECT_EQ(error.category(), "RunHistory");
    EXPECT_EQ(error.message(), "Could not establish detector table connection");
  }
  EXPECT_EQ(output.StandardOutput(), "Pull APD Info from DB\n");
}

}  // namespace
}  // namespace brio::dbi
