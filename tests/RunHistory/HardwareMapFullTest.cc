#include <cstdlib>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/RunHistory/HardwareMapQuery.h"
#include "tests/RunHistory/HardwareRows.h"

// The map that the library makes out of four statements and much matching, against what one statement of the
// test's own says should hang at each location.

namespace brio::dbi {
namespace {

const char* const kDatabase = "full_birch";

float FloatIn(const std::string& text) { return std::strtof(text.c_str(), nullptr); }
double DoubleIn(const std::string& text) { return std::strtod(text.c_str(), nullptr); }
int IntIn(const std::string& text) { return std::atoi(text.c_str()); }
std::uint32_t NumberOf(const std::string& text) { return static_cast<std::uint32_t>(IntIn(text)); }

std::vector<float> FloatsIn(const std::string& text) {
  std::vector<float> numbers;
  std::istringstream stream(text);
  for (std::string number; stream >> number;) {
    numbers.push_back(FloatIn(number));
  }
  return numbers;
}

struct Entry {
  HardwareLocation location;
  FEBInfo feb;
  APDInfo apd;
};

Entry EntryOf(const std::vector<std::string>& row) {
  Entry entry;
  entry.location = {briodaq::cnv::Birch, NumberOf(row[0]), NumberOf(row[1]), NumberOf(row[2])};
  entry.feb.serial = row[3];
  entry.feb.hvFitIntercept = FloatIn(row[4]);
  entry.feb.hvFitSlope = FloatIn(row[5]);
  entry.feb.barcodedItemId = NumberOf(row[6]);
  entry.feb.module = NumberOf(row[7]);
  entry.feb.connectionId = NumberOf(row[8]);
  entry.feb.dateAdded = DoubleIn(row[9]);
  if (row[10] == "\\N") { return entry; }
  entry.apd.serial = row[10];
  entry.apd.barcodedItemId = IntIn(row[11]);
  entry.apd.batchNo = IntIn(row[12]);
  entry.apd.targetDegC = IntIn(row[13]);
  entry.apd.vr = FloatIn(row[14]);
  entry.apd.module = IntIn(row[7]);
  entry.apd.connectionId = IntIn(row[15]);
  entry.apd.dateAdded = DoubleIn(row[16]);
  entry.apd.pixelGains = FloatsIn(row[17]);
  return entry;
}

void ExpectSame(const FEBInfo& feb, const FEBInfo& expected) {
  EXPECT_EQ(feb.serial, expected.serial);
  EXPECT_EQ(feb.hvFitIntercept, expected.hvFitIntercept);
  EXPECT_EQ(feb.hvFitSlope, expected.hvFitSlope);
  EXPECT_EQ(feb.barcodedItemId, expected.barcodedItemId);
  EXPECT_EQ(feb.module, expected.module);
  EXPECT_EQ(feb.connectionId, expected.connectionId);
  EXPECT_EQ(feb.dateAdded, expected.dateAdded);
}

void ExpectSame(const APDInfo& apd, const APDInfo& expected) {
  EXPECT_EQ(apd.serial, expected.serial);
  EXPECT_EQ(apd.barcodedItemId, expected.barcodedItemId);
  EXPECT_EQ(apd.batchNo, expected.batchNo);
  EXPECT_EQ(apd.targetDegC, expected.targetDegC);
  EXPECT_EQ(apd.vr, expected.vr);
  EXPECT_EQ(apd.module, expected.module);
  EXPECT_EQ(apd.connectionId, expected.connectionId);
  EXPECT_EQ(apd.dateAdded, expected.dateAdded);
  EXPECT_EQ(apd.pixelGains, expected.pixelGains);
}

class FullHardware : public testing::TestWithParam<int> {
protected:
  test::EnvironmentVariable address_{"BRIO_DATABASE", test::server::Template("full")};
};

TEST_P(FullHardware, IsMappedAsOneStatementSaysAndMarkedWhereAPDsHang) {
  RunHistory run(GetParam(), "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadHardwareInfo());
  test::MapHardware(run);

  const auto rows = test::server::Query(kDatabase, test::HardwareMapQuery(run.TStartAsString()));
  EXPECT_EQ(gLocToFA.size(), rows.size());
  EXPECT_GT(rows.size(), 10'700U);  // of 10,752 places
  int differing = 0;
  for (const auto& row : rows) {
    const Entry expected = EntryOf(row);
    const auto found = gLocToFA.find(expected.location);
    ASSERT_NE(found, gLocToFA.end()) << expected.location;
    ASSERT_EQ(expected.apd.pixelGains.size(), 32U);
    ExpectSame(found->second.first, expected.feb);
    ExpectSame(found->second.second, expected.apd);
    if (HasFailure() && ++differing > 3) { FAIL() << "at " << expected.location; }
  }

  const auto ports = test::server::Query(kDatabase, test::InstalledPortsQuery(run.TStartAsString()));
  EXPECT_GT(ports.size(), 10'700U);
  EXPECT_EQ(run.NInstrumentedFEBs(), static_cast<int>(ports.size()));
  for (const auto& port : ports) {
    const auto& board =
        run.GetDiBlocks().at(NumberOf(port[0]) - 1).dcms.at(NumberOf(port[1]) - 1).febs.at(NumberOf(port[2]));
    ASSERT_TRUE(board.isInstalled) << port[0] << " " << port[1] << " " << port[2];
    ASSERT_EQ(board.block, IntIn(port[3]));
    ASSERT_EQ(board.plane, IntIn(port[4]));
    ASSERT_EQ(board.modulePosition, IntIn(port[5]));
  }
}

INSTANTIATE_TEST_SUITE_P(Runs, FullHardware, testing::Values(13000, 13001, 13002));

}  // namespace
}  // namespace brio::dbi
