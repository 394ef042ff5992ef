// Gains as the bytes that stand in place of the rows they came from.
#include <array>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "RunHistory/GainsDigest.h"

namespace brio::test {
namespace {

using dbi::Cell;
using dbi::GainsBySerial;
using dbi::GainsReader;
using dbi::RowView;

constexpr int kBirch = 2;

std::uint32_t Bits(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof(bits));
  return bits;
}

void Give(GainsReader& reader, const char* serial, const char* gain) {
  const std::array<Cell, 6> cells{{{serial, 7}, {"1", 1}, {"-15", 3}, {"A", 1}, {"1", 1}, {gain, 4}}};
  reader.Take(RowView(cells.data(), 6));
}

TEST(GainsDigest, GivesWhatTheReaderKept) {
  GainsReader reader(kBirch);
  Give(reader, "0000001", "97.5");
  Give(reader, "0000002", "98.25");
  const std::string bytes = reader.Bytes();
  GainsReader other(kBirch);
  ASSERT_TRUE(other.Restore(bytes));
  EXPECT_EQ(other.Name(), reader.Name());
  EXPECT_EQ(other.Bytes(), bytes);
  EXPECT_EQ(other.TakeGains(), reader.TakeGains());
}

TEST(GainsDigest, KeepsEveryBit) {
  std::vector<float> values(32, 100.0F);
  values[3] = -0.0F;
  values[4] = std::numeric_limits<float>::quiet_NaN();
  values[5] = -std::numeric_limits<float>::infinity();
  values[6] = std::numeric_limits<float>::denorm_min();
  const auto gains = dbi::GainsFrom(dbi::GainsBytes({{"", values}, {"a longer serial", values}}));
  ASSERT_TRUE(gains);
  ASSERT_EQ(gains->size(), 2U);
  for (const auto& [serial, restored] : *gains) {
    ASSERT_EQ(restored.size(), values.size());
    for (std::size_t pixel = 0; pixel < values.size(); ++pixel) {
      EXPECT_EQ(Bits(restored[pixel]), Bits(values[pixel])) << serial << " " << pixel;
    }
  }
}

TEST(GainsDigest, OfNothingIsNothing) {
  const auto gains = dbi::GainsFrom(dbi::GainsBytes({}));
  ASSERT_TRUE(gains);
  EXPECT_TRUE(gains->empty());
}

TEST(GainsDigest, ThatIsCutOrLongerIsRefused) {
  const GainsBySerial gains{{"0000001", std::vector<float>(32, 1.0F)},
                            {"0000002", std::vector<float>(32, 2.0F)}};
  const std::string bytes = dbi::GainsBytes(gains);
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(dbi::GainsFrom(bytes.substr(0, length))) << length;
  }
  EXPECT_FALSE(dbi::GainsFrom(bytes + '\0'));
}

TEST(GainsDigest, WithOtherCountsOrLengthsIsRefused) {
  const GainsBySerial gains{{"0000001", std::vector<float>(32, 1.0F)},
                            {"0000002", std::vector<float>(32, 2.0F)}};
  for (const std::size_t at : {0U, 3U, 4U, 7U, 8U, 11U}) {
    for (const char value : {'\1', '\3', '\x7f', '\xff'}) {
      std::string bytes = dbi::GainsBytes(gains);
      if (bytes[at] == value) { continue; }
      bytes[at] = value;
      EXPECT_FALSE(dbi::GainsFrom(bytes)) << at;
    }
  }
}

TEST(GainsDigest, WithAnAPDTwiceIsRefused) {
  const GainsBySerial gains{{"0000001", std::vector<float>(32, 1.0F)},
                            {"0000002", std::vector<float>(32, 2.0F)}};
  std::string bytes = dbi::GainsBytes(gains);
  bytes[4 + 8 + 13] = '1';
  EXPECT_FALSE(dbi::GainsFrom(bytes));
}

TEST(GainsDigest, ThatIsRefusedLeavesNothing) {
  GainsReader reader(kBirch);
  Give(reader, "0000001", "97.5");
  EXPECT_FALSE(reader.Restore("nonsense"));
  Give(reader, "0000002", "98.25");
  EXPECT_EQ(reader.TakeGains().size(), 1U);
}

}  // namespace
}  // namespace brio::test
