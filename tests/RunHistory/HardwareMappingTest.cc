#include <gtest/gtest.h>

#include "framework/exception.h"
#include "tests/RunHistory/HardwareRows.h"

namespace brio::dbi {
namespace {

using Texts = std::vector<std::string>;

/// A board at diblock 3, DCM 4, port 17 with an APD whose gains are all 95.
void AddOneBoard(const test::HardwareRows& rows) {
  rows.AddModule(100001);
  rows.AddCable("03", "04", "17", 100001);
  rows.Add(test::FEBRows());
  rows.Add(test::APDRows());
  rows.AddGains("0000001", 95);
}

/// Puts something in the map that no database holds.
void FillMap() {
  gLocToFA.clear();
  gLocToFA[{briodaq::cnv::Birch, 9, 9, 9}].first.serial = "from before";
}

bool MapIsAsFilled() {
  return gLocToFA.size() == 1 && gLocToFA.begin()->second.first.serial == "from before";
}

TEST(HardwareMapping, ReplacesTheMapWhole) {
  const test::HardwareRows rows;
  AddOneBoard(rows);
  FillMap();
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  test::MapHardware(run);
  EXPECT_EQ(output.StandardOutput(), "Pull APD Info from DB\n");
  ASSERT_EQ(gLocToFA.size(), 1U);
  const auto& [location, hardware] = *gLocToFA.begin();
  EXPECT_EQ(location.diblock, 3U);
  EXPECT_EQ(hardware.first.serial, "FEB4.1.000001");
  EXPECT_EQ(hardware.second.serial, "0000001");
  EXPECT_EQ(hardware.second.pixelGains, std::vector<float>(32, 95.0F));
}

TEST(HardwareMapping, ListsTheLocationsWithoutHardware) {
  const test::HardwareRows rows;
  AddOneBoard(rows);
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  const test::CapturedMessages messages("debug");
  test::MapHardware(run);
  const auto texts = messages.Texts(Severity::Debug, "RunHistory");
  // Three lines of the pulls come first.
  ASSERT_EQ(texts.size(), 3U + 10751U + 1U);
  EXPECT_EQ(texts.back(), "there are 10751 locations without hardware");
  std::size_t next = 3;
  for (int diblock = 1; diblock <= 14; ++diblock) {
    for (int dcm = 1; dcm <= 12; ++dcm) {
      for (int port = 0; port < 64; ++port) {
        if (diblock == 3 && dcm == 4 && port == 17) { continue; }
        ASSERT_EQ(texts[next++], "dcm-2-" + std::to_string(diblock) + "-" + std::to_string(dcm) + "-" +
                                     std::to_string(port) + "\n is not in the location map");
      }
    }
  }
}

TEST(HardwareMapping, OfNothingReportsAllLocations) {
  const test::HardwareRows rows;
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  const test::CapturedMessages messages("debug");
  test::MapHardware(run);
  EXPECT_TRUE(gLocToFA.empty());
  const auto texts = messages.Texts(Severity::Debug, "RunHistory");
  ASSERT_EQ(texts.size(), 3U + 10752U + 1U);
  EXPECT_EQ(texts[0], "Found 0 apds in the db");
  EXPECT_EQ(texts[1], "there are 0 febs installed and put in the map and 0 apds");
  EXPECT_EQ(
      texts[2],
      "There are 0 febs in the db, and 0 are connected to a harward location\nThere are 0 apds installed");
  EXPECT_EQ(texts.back(), "there are 10752 locations without hardware");
}

TEST(HardwareMapping, HardwareOutsideTheListedLocationsIsNotCounted) {
  const test::HardwareRows rows;
  AddOneBoard(rows);
  rows.AddCable("15", "04", "17", 100001);
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  const test::CapturedMessages messages("debug");
  test::MapHardware(run);
  EXPECT_EQ(gLocToFA.size(), 2U);
  ASSERT_FALSE(messages.Texts(Severity::Debug, "RunHistory").empty());
  EXPECT_EQ(messages.Texts(Severity::Debug, "RunHistory").back(),
            "there are 10751 locations without hardware");
}

TEST(HardwareMapping, OfAnotherDetectorEmptiesTheMap) {
  FillMap();
  RunHistory run(11000, "Alder");
  test::CapturedOutput output;
  const test::CapturedMessages messages("debug");
  test::MapHardware(run);
  EXPECT_TRUE(gLocToFA.empty());
  EXPECT_EQ(messages.All().size(), 1U);  // the APD pull's
}

TEST(HardwareMapping, AnExceptionLeavesTheMap) {
  FillMap();
  RunHistory run;
  test::CapturedOutput output;
  EXPECT_THROW(test::MapHardware(run), cet::exception);
  EXPECT_TRUE(MapIsAsFilled());
}

/// The APD pull has gone well when the FEB pull breaks off.
TEST(HardwareMapping, AnExceptionInTheSecondPullLeavesTheMap) {
  const test::HardwareRows rows;
  AddOneBoard(rows);
  FillMap();
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  int statements = 0;
  SetStepObserver([&](DatabaseStep step, const std::string&) {
    if (step == DatabaseStep::Statement && ++statements == 4) { throw std::bad_alloc(); }
  });
  EXPECT_THROW(test::MapHardware(run), std::bad_alloc);
  SetStepObserver({});
  EXPECT_EQ(statements, 4);
  EXPECT_TRUE(MapIsAsFilled());
  EXPECT_EQ(test::server::LastingConnections(rows.Databases().Name()), 0);
}

TEST(HardwareMapping, APDSettingsOfOtherDetectorsKeepTheMap) {
  const test::EnvironmentVariable database("BRIO_DATABASE", test::server::Template("small"));
  FillMap();
  test::CapturedOutput output;
  RunHistory alder(11000, "Alder");
  EXPECT_TRUE(alder.LoadAPDSettings());
  RunHistory cedar(12000, "Cedar");
  EXPECT_TRUE(cedar.LoadAPDSettings());
  RunHistory simulated(1, "Birch");
  EXPECT_TRUE(simulated.LoadAPDSettings());
  EXPECT_TRUE(MapIsAsFilled());
  EXPECT_EQ(output.StandardOutput().find("Pull APD Info from DB"), std::string::npos);
}

struct LostTable {
  const char* name;
  const char* table;
  std::size_t statement;  ///< which of the four fails
  std::size_t mapped;     ///< locations that are mapped all the same
  float gain;             ///< of the APD there
};

class FailedStatement : public testing::TestWithParam<LostTable> {};

TEST_P(FailedStatement, ReadsAsOneWithoutRows) {
  const auto& lost = GetParam();
  const test::HardwareRows rows;
  AddOneBoard(rows);
  rows.Execute(std::string("DROP TABLE ") + lost.table + " CASCADE");
  FillMap();
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  const test::CapturedMessages messages("error");
  const test::SentStatements sent;
  test::MapHardware(run);
  ASSERT_EQ(sent.Texts().size(), 4U);  // those after it are sent all the same
  EXPECT_EQ(messages.Texts(Severity::Error, "RunHistory"),
            Texts{"Query failed: " + sent.Texts()[lost.statement]});
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").size(), 1U);
  ASSERT_EQ(gLocToFA.size(), lost.mapped);
  if (lost.mapped > 0) {
    EXPECT_EQ(gLocToFA.begin()->second.second.pixelGains, std::vector<float>(32, lost.gain));
  }
  EXPECT_EQ(test::server::LastingConnections(rows.Databases().Name()), 0);
}

INSTANTIATE_TEST_SUITE_P(Tables, FailedStatement,
                         testing::Values(LostTable{"Gains", "public.apd_pixel_m", 0, 1, 100},
                                         LostTable{"APDs", "public.apd_stats", 1, 1, 100},
                                         LostTable{"FEBs", "public.feb_test_summary", 2, 0, 0},
                                         LostTable{"Cables", "public.feb_comm_cables", 3, 0, 0}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(FailedStatements, WithoutAConnectionAreFourMessages) {
  const test::EnvironmentVariable database("BRIO_DATABASE", "host=/nowhere");
  FillMap();
  RunHistory run = test::RunStartingAt();
  test::CapturedOutput output;
  const test::CapturedMessages messages("error");
  test::MapHardware(run);
  EXPECT_EQ(messages.Texts(Severity::Error, "RunHistory"),
            Texts(4, "Failed to connect to hardware database! Failed to load hardware info."));
  EXPECT_TRUE(gLocToFA.empty());
}

}  // namespace
}  // namespace brio::dbi
