#include <cmath>

#include <gtest/gtest.h>

#include "framework/TimeStamp.h"
#include "framework/exception.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using test::FEBRows;
using Texts = std::vector<std::string>;

/// The FEB of a number on the module of that number.
FEBRows FEB(int number) {
  FEBRows feb;
  feb.barcode = "FEB4.1." + std::to_string(1000000 + number).substr(1);
  feb.item = 300000 + number;
  feb.module = 100000 + number;
  feb.connection = 600000 + number;
  return feb;
}

APDInfo APDWithGain(float gain) {
  APDInfo apd;
  apd.serial = "0000042";
  apd.pixelGains.assign(32, gain);
  return apd;
}

HardwareLocation At(std::uint32_t diblock, std::uint32_t dcm, std::uint32_t port) {
  return {briodaq::cnv::Birch, diblock, dcm, port};
}

class FEBPull : public testing::Test {
protected:
  LocationMap Pull(const APDsByModule& apds = {}, const std::string& start = test::HardwareRows::kRunStart) {
    RunHistory run = test::RunStartingAt(start);
    test::CapturedOutput output;
    auto mapped = test::PullFEBs(run, apds);
    EXPECT_EQ(output.StandardOutput(), "");
    EXPECT_EQ(output.StandardError(), "");
    return mapped;
  }
  /// A module on diblock 3, DCM 4, at the port of its number.
  void AddPlace(int number) {
    rows_.AddModule(100000 + number);
    rows_.AddCable("03", "04", std::to_string(number), 100000 + number);
  }

  test::HardwareRows rows_;
};

TEST_F(FEBPull, JoinsBoardAndAPDThroughTheirModule) {
  AddPlace(17);
  rows_.Add(FEB(17));
  const auto mapped = Pull({{100017, APDWithGain(95)}});
  ASSERT_EQ(mapped.size(), 1U);
  const auto& [location, hardware] = *mapped.begin();
  EXPECT_EQ(location.detector, 2);
  EXPECT_EQ(location.diblock, 3U);
  EXPECT_EQ(location.dcm, 4U);
  EXPECT_EQ(location.port, 17U);
  const auto& [feb, apd] = hardware;
  EXPECT_EQ(feb.serial, "FEB4.1.000017");
  EXPECT_EQ(feb.hvFitIntercept, 312.5F);
  EXPECT_EQ(feb.hvFitSlope, 0.025F);
  EXPECT_EQ(feb.barcodedItemId, 300017U);
  EXPECT_EQ(feb.module, 100017U);
  EXPECT_EQ(feb.connectionId, 600017U);
  EXPECT_EQ(feb.dateAdded, TTimeStamp(2013, 4, 3, 2, 1, 3).AsDouble());
  EXPECT_EQ(apd.serial, "0000042");
  EXPECT_EQ(apd.pixelGains, std::vector<float>(32, 95.0F));
}

TEST_F(FEBPull, AModuleThatIsCabledTwiceIsWholeAtBothPlaces) {
  AddPlace(17);
  rows_.AddCable("01", "02", "03", 100017);
  rows_.AddCable("05", "06", "07", 100017);
  FEBRows board = FEB(17);
  board.barcode = "FEB4.1.a barcode that is long";
  rows_.Add(board);
  const auto mapped = Pull({{100017, APDWithGain(95)}});
  ASSERT_EQ(mapped.size(), 3U);
  for (const auto& place : {At(1, 2, 3), At(3, 4, 17), At(5, 6, 7)}) {
    SCOPED_TRACE(place.diblock);
    const auto& [feb, apd] = mapped.at(place);
    EXPECT_EQ(feb.serial, board.barcode);
    EXPECT_EQ(apd.serial, "0000042");
    EXPECT_EQ(apd.pixelGains, std::vector<float>(32, 95.0F));
  }
}

TEST_F(FEBPull, AllBoardsCarryTheDateOfTheNewest) {
  for (const int number : {1, 2, 3}) {
    AddPlace(number);
    FEBRows feb = FEB(number);
    feb.added = "201" + std::to_string(number) + "-04-03 12:21:43.5Z";
    rows_.Add(feb);
  }
  const auto mapped = Pull();
  ASSERT_EQ(mapped.size(), 3U);
  for (const auto& [location, hardware] : mapped) {
    EXPECT_EQ(hardware.first.dateAdded, TTimeStamp(2013, 4, 3, 2, 1, 3).AsDouble()) << location;
  }
}

TEST_F(FEBPull, TheNewestBoardOfAModuleIsKept) {
  AddPlace(1);
  for (const int number : {1, 2, 3}) {
    FEBRows feb = FEB(number);
    feb.module = 100001;
    // Only the hours tell 1 and 2 apart; cut dates would put 1 (09:00) after 2 (10:00).
    feb.added = number == 1 ? "2013-04-03 09:00Z" : number == 2 ? "2013-04-03 10:00Z" : "2012-01-01 00:00Z";
    rows_.Add(feb);
  }
  EXPECT_EQ(Pull().at(At(3, 4, 1)).first.serial, "FEB4.1.000002");
}

TEST_F(FEBPull, BoardsThatAreNotInstalledAtTheStartAreNot) {
  for (int number = 1; number <= 6; ++number) {
    AddPlace(number);
  }
  FEBRows feb = FEB(1);
  feb.added = "2015-08-01 15:29:59Z";
  rows_.Add(feb);
  feb = FEB(2);
  feb.added = "2015-08-01 15:30:00Z";
  rows_.Add(feb);
  feb = FEB(3);
  feb.itemRemoved = "2015-08-01 15:30:00Z";
  rows_.Add(feb);
  feb = FEB(4);
  feb.disconnected = "2015-08-01 15:30:00Z";
  rows_.Add(feb);
  feb = FEB(5);
  feb.itemRemoved = feb.disconnected = "2015-08-01 15:30:01Z";
  rows_.Add(feb);
  rows_.Add(FEB(6));
  rows_.Execute("DELETE FROM public.feb_test_summary WHERE febsn = 'FEB4-1-000006'");
  const auto mapped = Pull({}, "2015-08-01 15:30:00");
  EXPECT_EQ(mapped.size(), 2U);
  EXPECT_EQ(mapped.count(At(3, 4, 1)), 1U);
  EXPECT_EQ(mapped.count(At(3, 4, 5)), 1U);
}

struct Slope {
  const char* name;
  const char* stored;
  float read;
};

class SlopeOfABoard : public FEBPull, public testing::WithParamInterface<Slope> {};

TEST_P(SlopeOfABoard, IsReadAsAFloatAndNeverZero) {
  AddPlace(1);
  FEBRows feb = FEB(1);
  feb.slope = feb.intercept = GetParam().stored;
  rows_.Add(feb);
  const float slope = Pull().at(At(3, 4, 1)).first.hvFitSlope;
  if (std::isnan(GetParam().read)) {
    EXPECT_TRUE(std::isnan(slope));
  } else {
    EXPECT_EQ(slope, GetParam().read);
  }
}

INSTANTIATE_TEST_SUITE_P(Slopes, SlopeOfABoard,
                         testing::Values(Slope{"Zero", "0", 0.02586F}, Slope{"MinusZero", "'-0'", 0.02586F},
                                         Slope{"Null", "NULL", 0.02586F}, Slope{"Tiny", "1e-9", 1e-9F},
                                         Slope{"Negative", "-0.0258", -0.0258F},
                                         Slope{"ZeroOnceItIsAFloat", "1e-60", 0.02586F},
                                         Slope{"Denormal", "1e-44", 1e-44F}, Slope{"NaN", "'nan'", NAN},
                                         Slope{"Narrowed", "0.0258612345678", 0.0258612345678F}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_F(FEBPull, AnInterceptOfZeroStays) {
  AddPlace(1);
  FEBRows feb = FEB(1);
  feb.intercept = "0";
  rows_.Add(feb);
  EXPECT_EQ(Pull().at(At(3, 4, 1)).first.hvFitIntercept, 0.0F);
}

TEST_F(FEBPull, APlaceWithoutABoardIsAbsent) {
  AddPlace(1);
  AddPlace(2);
  rows_.Add(FEB(2));
  const auto mapped = Pull({{100001, APDWithGain(95)}});
  ASSERT_EQ(mapped.size(), 1U);
  EXPECT_EQ(mapped.begin()->first.port, 2U);
}

TEST_F(FEBPull, ABoardWithoutAPlaceIsDroppedSilently) {
  rows_.Add(FEB(1));
  const test::CapturedMessages messages("warning");
  EXPECT_TRUE(Pull().empty());
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(FEBPull, TheLaterCableOfAPlaceHolds) {
  for (const int number : {1, 2, 3}) {
    rows_.AddModule(100000 + number);
    rows_.Add(FEB(number));
  }
  // In the order of the texts, "04" comes before "4"; in that of entry, it does not.
  rows_.AddCable("03", "4", "1", 100002);
  rows_.AddCable("03", "04", "01", 100001);
  // The later cable leads to a module without a board, so the earlier one holds.
  rows_.AddCable("03", "05", "01", 100003);
  rows_.AddModule(100004);
  rows_.AddCable("03", "5", "1", 100004);
  const auto mapped = Pull({{100001, APDWithGain(95)}});
  ASSERT_EQ(mapped.size(), 2U);
  EXPECT_EQ(mapped.at(At(3, 4, 1)).first.serial, "FEB4.1.000002");
  EXPECT_EQ(mapped.at(At(3, 4, 1)).second.serial, "");
  EXPECT_EQ(mapped.at(At(3, 5, 1)).first.serial, "FEB4.1.000003");
}

TEST_F(FEBPull, UnreadableNumbersOfACableAreZero) {
  rows_.AddModule(100001);
  rows_.AddCable("x3", "none", "?", 100001);
  rows_.Add(FEB(1));
  EXPECT_EQ(Pull().count(At(0, 0, 0)), 1U);
}

TEST_F(FEBPull, SaysWhatItFoundAndCountsBoardsWithoutAPD) {
  for (const int number : {1, 2, 3}) {
    AddPlace(number);
    rows_.Add(FEB(number));
  }
  rows_.Add(FEB(4));
  const test::CapturedMessages messages("debug");
  const auto mapped = Pull({{100002, APDWithGain(95)}, {100099, APDWithGain(96)}});
  EXPECT_EQ(messages.Texts(Severity::Debug, "RunHistory"),
            (Texts{"there are 4 febs installed and put in the map and 2 apds",
                   "0 no APD found for FEB: FEB4.1.000001 300001 100001 312.5 0.025 600001 1.36495e+09\n"
                   " installed at dcm-2-3-4-1\n",
                   "1 no APD found for FEB: FEB4.1.000003 300003 100003 312.5 0.025 600003 1.36495e+09\n"
                   " installed at dcm-2-3-4-3\n",
                   "There are 4 febs in the db, and 3 are connected to a harward location\n"
                   "There are 2 apds installed"}));
  EXPECT_EQ(mapped.at(At(3, 4, 1)).second.pixelGains, std::vector<float>(32, 100.0F));
  EXPECT_EQ(mapped.at(At(3, 4, 1)).second.serial, "");
  EXPECT_EQ(mapped.at(At(3, 4, 2)).second.serial, "0000042");
}

TEST(FEBPullElsewhere, SendsNothingAndSaysNothing) {
  const test::EnvironmentVariable database("BRIO_DATABASE", "host=/nowhere");
  for (const char* detector : {"Alder", "Cedar", "Damson", "Elder", "Fenwick"}) {
    RunHistory run(11000, detector);
    test::CapturedOutput output;
    const test::CapturedMessages messages("debug");
    const test::SentStatements sent;
    EXPECT_TRUE(test::PullFEBs(run, {{100001, APDInfo()}}).empty()) << detector;
    EXPECT_EQ(output.StandardOutput(), "") << detector;
    EXPECT_TRUE(sent.Texts().empty()) << detector;
    EXPECT_TRUE(messages.All().empty()) << detector;
  }
}

TEST(FEBPullElsewhere, ThrowsForADetectorWithoutAName) {
  RunHistory run;
  try {
    test::PullFEBs(run, {});
    ADD_FAILURE() << "nothing was thrown";
  } catch (const cet::exception& error) {
    EXPECT_EQ(error.category(), "RunHistory");
    EXPECT_EQ(error.message(), "could not extablish table connection for detector");
  }
}

}  // namespace
}  // namespace brio::dbi
