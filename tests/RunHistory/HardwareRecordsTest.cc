#include "RunHistory/HardwareRecords.h"

#include <limits>
#include <sstream>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "framework/MessageLogger.h"
#include "tests/support/Output.h"

namespace brio::dbi {
namespace {

HardwareLocation At(std::uint32_t diblock, std::uint32_t dcm, std::uint32_t port, std::int32_t detector = 2) {
  return {detector, diblock, dcm, port};
}

FEBInfo SomeFEB() {
  FEBInfo feb;
  feb.serial = "FEB4.1.000123";
  feb.barcodedItemId = 300123;
  feb.module = 100001;
  feb.hvFitIntercept = 312.3456789F;
  feb.hvFitSlope = 0.02586F;
  feb.connectionId = 4294967295U;
  feb.dateAdded = 1367813109.0;
  return feb;
}

template <class Value>
std::string Streamed(const Value& value) {
  std::ostringstream text;
  text << value << "then more";
  return text.str();
}

TEST(APDInfo, DefaultsStandForNoMeasurement) {
  const APDInfo apd;
  EXPECT_EQ(apd.serial, "");
  EXPECT_EQ(apd.barcodedItemId, -1);
  EXPECT_EQ(apd.batchNo, -1);
  EXPECT_EQ(apd.targetDegC, 2147483647);
  EXPECT_EQ(apd.vr, 4294967296.0F);
  EXPECT_EQ(apd.module, -1);
  EXPECT_EQ(apd.connectionId, -1);
  EXPECT_EQ(apd.dateAdded, 0.0);
  EXPECT_EQ(apd.pixelGains, std::vector<float>(32, 100.0F));
}

TEST(FEBInfo, DefaultsAreDefined) {
  const FEBInfo feb;
  EXPECT_EQ(feb.serial, "");
  EXPECT_EQ(feb.hvFitIntercept, 0.0F);
  EXPECT_EQ(feb.hvFitSlope, 0.0F);
  EXPECT_EQ(feb.barcodedItemId, 0U);
  EXPECT_EQ(feb.module, 0U);
  EXPECT_EQ(feb.connectionId, 0U);
  EXPECT_EQ(feb.dateAdded, 0.0);
}

TEST(FEBInfo, StreamsItsFieldsAndALineEnd) {
  EXPECT_EQ(Streamed(SomeFEB()),
            "FEB: FEB4.1.000123 300123 100001 312.346 0.02586 4294967295 1.36781e+09\nthen more");
  EXPECT_EQ(Streamed(FEBInfo()), "FEB:  0 0 0 0 0 0\nthen more");
}

TEST(HardwareLocation, StreamsWithoutPaddingAndWithALineEnd) {
  EXPECT_EQ(Streamed(At(5, 3, 17)), "dcm-2-5-3-17\nthen more");
  EXPECT_EQ(Streamed(At(14, 12, 63, -1)), "dcm--1-14-12-63\nthen more");
  EXPECT_EQ(Streamed(At(4294967295U, 0, 0)), "dcm-2-4294967295-0-0\nthen more");
}

TEST(HardwareRecords, KeepTheirLineEndInsideMessages) {
  const test::CapturedMessages messages("debug");
  LogDebug("RunHistory") << "at " << At(5, 3, 17) << " is " << SomeFEB() << "so";
  EXPECT_EQ(messages.Texts(Severity::Debug, "RunHistory"),
            std::vector<std::string>{"at dcm-2-5-3-17\n is FEB: FEB4.1.000123 300123 100001 312.346 0.02586 "
                                     "4294967295 1.36781e+09\nso"});
}

TEST(HardwareLocation, ComparesDiBlockThenDCMThenPort) {
  EXPECT_TRUE(At(1, 2, 3) < At(1, 2, 4));
  EXPECT_FALSE(At(1, 2, 4) < At(1, 2, 3));
  EXPECT_TRUE(At(1, 1, 63) < At(1, 2, 0));
  EXPECT_FALSE(At(1, 2, 0) < At(1, 1, 63));
  EXPECT_TRUE(At(1, 12, 63) < At(2, 0, 0));
  EXPECT_FALSE(At(2, 0, 0) < At(1, 12, 63));
  EXPECT_FALSE(At(1, 2, 3) < At(1, 2, 3));
}

TEST(HardwareLocation, ComparesUnsigned) {
  EXPECT_TRUE(At(1, 0, 0) < At(4294967295U, 0, 0));
  EXPECT_TRUE(At(1, 1, 0) < At(1, 4294967295U, 0));
  EXPECT_TRUE(At(1, 1, 1) < At(1, 1, 4294967295U));
}

TEST(HardwareLocation, DetectorTakesNoPartInTheOrder) {
  EXPECT_FALSE(At(1, 2, 3, 1) < At(1, 2, 3, 2));
  EXPECT_FALSE(At(1, 2, 3, 2) < At(1, 2, 3, 1));
  EXPECT_TRUE(At(1, 2, 3, 9) < At(1, 2, 4, 1));
}

TEST(LocationMap, IsEmptyUntilHardwareIsMapped) { EXPECT_TRUE(gLocToFA.empty()); }

TEST(LocationMap, FindsALocationOfAnotherDetector) {
  const auto [first, isNew] = gLocToFA.try_emplace(At(1, 2, 3, 2));
  EXPECT_TRUE(isNew);
  const auto [second, isNewToo] = gLocToFA.try_emplace(At(1, 2, 3, 1));
  EXPECT_FALSE(isNewToo);
  EXPECT_EQ(first, second);
  EXPECT_EQ(second->first.detector, 2);
  gLocToFA.clear();
}

// Values through and through: a copy has its own gains.
static_assert(std::is_copy_constructible_v<APDInfo> && std::is_copy_assignable_v<FEBInfo> &&
              std::is_trivially_copyable_v<HardwareLocation>);

TEST(APDInfo, CopiesHaveTheirOwnGains) {
  APDInfo original;
  original.serial = "0000042";
  APDInfo copy = original;
  copy.pixelGains[5] = 1.0F;
  EXPECT_EQ(original.pixelGains[5], 100.0F);
  EXPECT_EQ(copy.serial, "0000042");
}

}  // namespace
}  // namespace brio::dbi
