#include "RunHistory/PixelGains.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "database/Result.h"

namespace brio::dbi {
namespace {

constexpr int kBirch = 2;

/// serial, batch, temperature, column, row, gain: as the statement returns them.
using GainRow = std::array<std::string, 6>;

ResultHandle ResultOf(const std::vector<GainRow>& rows) {
  ResultHandle result(PQmakeEmptyPGresult(nullptr, PGRES_TUPLES_OK));
  std::array<std::string, 6> names{"right", "batch_no", "target_degc", "pixel_col", "pixel_row", "pixel_m"};
  std::array<PGresAttDesc, 6> columns{};
  for (std::size_t i = 0; i < columns.size(); ++i) {
    columns[i].name = names[i].data();
  }
  PQsetResultAttrs(result.get(), static_cast<int>(columns.size()), columns.data());
  for (std::size_t row = 0; row < rows.size(); ++row) {
    for (std::size_t column = 0; column < columns.size(); ++column) {
      std::string text = rows[row][column];
      PQsetvalue(result.get(), static_cast<int>(row), static_cast<int>(column), text.data(),
                 static_cast<int>(text.size()));
    }
  }
  return result;
}

GainsBySerial Read(const std::vector<GainRow>& rows) {
  GainsReader reader(kBirch);
  const auto result = ResultOf(rows);
  for (int row = 0; row < PQntuples(result.get()); ++row) {
    reader.Take(RowView(result.get(), row));
  }
  return reader.TakeGains();
}

/// The gains of one APD that is all of the result.
std::vector<float> ReadOne(const std::vector<GainRow>& rows) {
  const auto gains = Read(rows);
  return gains.size() == 1 ? gains.begin()->second : std::vector<float>();
}

std::vector<float> NominalBut(const std::vector<std::pair<std::size_t, float>>& others) {
  std::vector<float> gains(32, 100.0F);
  for (const auto& [pixel, gain] : others) {
    gains[pixel] = gain;
  }
  return gains;
}

TEST(PixelGains, AreReadFromRowsOfAnySource) {
  const std::array<Cell, 6> cells{{{"0000001", 7}, {"1", 1}, {"-15", 3}, {"D", 1}, {"8", 1}, {"97.5", 4}}};
  const std::array<Cell, 6> unmeasured{{{"0000002", 7}, {"1", 1}, {"-15", 3}, {"A", 1}, {"1", 1}, {}}};
  GainsReader reader(kBirch);
  reader.Take(RowView(cells.data(), 6));
  reader.Take(RowView(unmeasured.data(), 6));
  const auto gains = reader.TakeGains();
  ASSERT_EQ(gains.size(), 2U);
  EXPECT_EQ(gains.at("0000001"), NominalBut({{31, 97.5F}}));
  EXPECT_EQ(gains.at("0000002"), NominalBut({{0, 0.0F}})) << "a gain that is NULL reads as 0";
}

TEST(PixelGains, OfNoRowsAreNone) { EXPECT_TRUE(Read({}).empty()); }

struct Spot {
  const char* column;
  const char* row;
  std::size_t pixel;
};

class SpotOnTheTestStand : public testing::TestWithParam<Spot> {};

TEST_P(SpotOnTheTestStand, HasItsDAQPixel) {
  const auto& spot = GetParam();
  EXPECT_EQ(ReadOne({{"0000001", "1", "-15", spot.column, spot.row, "97.5"}}),
            NominalBut({{spot.pixel, 97.5F}}))
      << spot.column << spot.row;
}

// Tester index 8 column + row - 1 becomes pixel 4 (index mod 8) + index / 8.
INSTANTIATE_TEST_SUITE_P(Spots, SpotOnTheTestStand,
                         testing::Values(Spot{"A", "1", 0}, Spot{"A", "2", 4}, Spot{"A", "8", 28},
                                         Spot{"B", "1", 1}, Spot{"B", "8", 29}, Spot{"C", "1", 2},
                                         Spot{"C", "5", 18}, Spot{"D", "1", 3}, Spot{"D", "8", 31},
                                         // Unknown columns count as "A".
                                         Spot{"E", "3", 8}, Spot{"", "3", 8}, Spot{"a", "3", 8},
                                         Spot{"b", "3", 8}, Spot{"BB", "3", 8}, Spot{"B ", "3", 8},
                                         Spot{" D", "3", 8},
                                         // Rows beyond the column run on into the next one.
                                         Spot{"A", "9", 1}, Spot{"B", "9", 2}, Spot{"E", "32", 31},
                                         Spot{"D", "0", 30}, Spot{"A", "3rd", 8}));

class SpotThatIsNone : public testing::TestWithParam<Spot> {};

TEST_P(SpotThatIsNone, IsLeftOut) {
  const auto& spot = GetParam();
  EXPECT_EQ(ReadOne({{"0000001", "1", "-15", spot.column, spot.row, "97.5"}}), NominalBut({}))
      << spot.column << spot.row;
}

INSTANTIATE_TEST_SUITE_P(Spots, SpotThatIsNone,
                         testing::Values(Spot{"A", "0", 0}, Spot{"A", "", 0}, Spot{"D", "9", 0},
                                         Spot{"A", "33", 0}, Spot{"B", "-8", 0}, Spot{"A", "2147483647", 0},
                                         Spot{"D", "2147483647", 0}, Spot{"A", "-2147483648", 0},
                                         Spot{"D", "-2147483648", 0}, Spot{"D", "99999999999", 0}));

TEST(PixelGains, OnlyTheHighestBatchCounts) {
  EXPECT_EQ(ReadOne({{"0000001", "2", "-12", "A", "1", "97"},
                     {"0000001", "1", "-15", "A", "1", "90"},
                     {"0000001", "1", "-15", "B", "1", "91"}}),
            NominalBut({{0, 97.0F}}));
}

TEST(PixelGains, TheWarmestTemperatureOfTheBatchWins) {
  EXPECT_EQ(ReadOne({{"0000001", "2", "-12", "A", "1", "97"},
                     {"0000001", "2", "-12", "B", "1", "96"},
                     {"0000001", "2", "-8", "A", "1", "98"},
                     {"0000001", "1", "-1", "B", "1", "1"}}),
            NominalBut({{0, 98.0F}, {1, 96.0F}}));
}

TEST(PixelGains, AnUnknownColumnOverwritesColumnAOfItsTemperature) {
  EXPECT_EQ(ReadOne({{"0000001", "2", "-12", "A", "1", "97"},
                     {"0000001", "2", "-12", "E", "1", "80"},
                     {"0000001", "2", "-8", "A", "1", "98"},
                     {"0000001", "2", "-8", "E", "2", "81"}}),
            NominalBut({{0, 98.0F}, {4, 81.0F}}));
}

TEST(PixelGains, EachAPDHasItsOwn) {
  const auto gains = Read({{"0000001", "2", "-8", "A", "1", "97"},
                           {"0000002", "2", "-8", "B", "1", "98"},
                           {"0000002", "1", "-8", "C", "1", "1"},
                           {"0000003", "1", "-8", "C", "1", "99"}});
  EXPECT_EQ(gains, (GainsBySerial{{"0000001", NominalBut({{0, 97.0F}})},
                                  {"0000002", NominalBut({{1, 98.0F}})},
                                  {"0000003", NominalBut({{2, 99.0F}})}}));
}

/// Serials are texts: "07" and "7" are two.
TEST(PixelGains, SerialsAreComparedAsTextsBatchesAsNumbers) {
  const auto gains = Read({{"07", "2", "-8", "A", "1", "97"},
                           {"7", "2", "-8", "A", "1", "98"},
                           {"7", "02", "-8", "B", "1", "99"}});
  EXPECT_EQ(gains,
            (GainsBySerial{{"07", NominalBut({{0, 97.0F}})}, {"7", NominalBut({{0, 98.0F}, {1, 99.0F}})}}));
}

TEST(PixelGains, RowsOfAnAPDThatComesBackAreLeftOut) {
  const auto gains = Read({{"0000001", "2", "-8", "A", "1", "97"},
                           {"0000002", "2", "-8", "A", "1", "98"},
                           {"0000001", "3", "-8", "A", "1", "1"},
                           {"0000002", "2", "-8", "B", "1", "1"}});
  EXPECT_EQ(gains,
            (GainsBySerial{{"0000001", NominalBut({{0, 97.0F}})}, {"0000002", NominalBut({{0, 98.0F}})}}));
}

TEST(PixelGains, TextsBecomeFloats) {
  EXPECT_EQ(ReadOne({{"1", "1", "-8", "A", "1", "99.987654321"},
                     {"1", "1", "-8", "B", "1", "1e-60"},
                     {"1", "1", "-8", "C", "1", ""},
                     {"1", "1", "-8", "D", "1", "12abc"}}),
            NominalBut({{0, static_cast<float>(99.987654321)}, {1, 0.0F}, {2, 0.0F}, {3, 12.0F}}));
}

/// The rule told row by row: a row counts when its batch is that of its serial's first row and nothing stood
/// between them; a later row of a pixel replaces an earlier one.
GainsBySerial ToldRowByRow(const std::vector<GainRow>& rows) {
  GainsBySerial gains;
  for (std::size_t i = 0; i < rows.size();) {
    if (gains.count(rows[i][0]) != 0) {
      ++i;
      continue;
    }
    const auto first = rows[i];
    auto& ofAPD = gains.emplace(first[0], std::vector<float>(32, 100.0F)).first->second;
    for (; i < rows.size() && rows[i][0] == first[0] && rows[i][1] == first[1]; ++i) {
      const int column = rows[i][3][0] - 'A';
      const int row = std::atoi(rows[i][4].c_str()) - 1;
      ofAPD[static_cast<std::size_t>(4 * row + column)] = static_cast<float>(std::atof(rows[i][5].c_str()));
    }
  }
  return gains;
}

TEST(PixelGains, OfRandomTestsAreThoseOfTheRule) {
  std::mt19937 random(7919);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same tests every time
  const auto below = [&](unsigned int n) { return static_cast<int>(random() % n); };
  for (int round = 0; round < 300; ++round) {
    // serial, -batch, temperature, column, row: sorted like this, they are in the statement's order.
    std::set<std::tuple<int, int, int, int, int>> measured;
    const int n = below(200);
    for (int i = 0; i < n; ++i) {
      measured.emplace(below(6), -1 - below(3), -1 - below(4), below(4), 1 + below(8));
    }
    std::vector<GainRow> rows;
    for (const auto& [serial, batch, temperature, column, row] : measured) {
      rows.push_back({std::to_string(serial), std::to_string(-batch), std::to_string(temperature),
                      std::string(1, static_cast<char>('A' + column)), std::to_string(row),
                      std::to_string(80 + below(400) / 10.0)});
    }
    if (round % 3 == 0) { std::shuffle(rows.begin(), rows.end(), random); }
    ASSERT_EQ(Read(rows), ToldRowByRow(rows)) << "round " << round;
  }
}

}  // namespace
}  // namespace brio::dbi
