#include "experiment/daqconfig/PixelThresholds.h"

#include <type_traits>

#include <gmock/gmock.h>

#include "tests/experiment/LookUpDatabase.h"

namespace brio::test {
namespace {

using dbutils::daqconfig::PixelThresholds;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<PixelThresholds>);

using PixelThresholdsLookUp = LookUpDatabase;

TEST_F(PixelThresholdsLookUp, AnswersForEveryPortAndPixel) {
  AddConfiguration(77);
  std::string packed;
  for (int i = 0; i < 2048; ++i) {
    char digits[5];
    std::snprintf(digits, sizeof(digits), "%04x", static_cast<unsigned int>(i));
    packed += digits;
  }
  AddThresholds(77, "dcm-2-01-01", packed);
  const PixelThresholds lookUp(77, {"dcm-2-01-01"});
  ASSERT_TRUE(lookUp.hasValidData());
  std::vector<short> thresholds{1, 2, 3};
  for (int port = 0; port < 64; ++port) {
    ASSERT_TRUE(lookUp.getThresholdsForFEB("dcm-2-01-01", port, thresholds));
    ASSERT_EQ(thresholds.size(), 32U);
    for (int pixel = 0; pixel < 32; ++pixel) {
      ASSERT_EQ(thresholds[static_cast<std::size_t>(pixel)], 32 * port + pixel);
    }
  }
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(PixelThresholdsLookUp, KnowsNegativeThresholds) {
  AddConfiguration(77);
  AddThresholds(77, "dcm-2-01-01", "ffff80007fff0fff" + Repeated("0000", 2043) + "fffe");
  const PixelThresholds lookUp(77, {"dcm-2-01-01"});
  std::vector<short> thresholds;
  ASSERT_TRUE(lookUp.getThresholdsForFEB("dcm-2-01-01", 0, thresholds));
  EXPECT_THAT(std::vector<short>(thresholds.begin(), thresholds.begin() + 5),
              ElementsAre(-1, -32768, 32767, 4095, 0));
  ASSERT_TRUE(lookUp.getThresholdsForFEB("dcm-2-01-01", 63, thresholds));
  EXPECT_EQ(thresholds.back(), -2);
}

TEST_F(PixelThresholdsLookUp, LeavesTheOutputAsItWasWhereNothingIs) {
  AddConfiguration(77);
  AddThresholds(77, "dcm-2-01-01", Repeated("0032", 2048));
  const PixelThresholds lookUp(77, {"dcm-2-01-01"});
  std::vector<short> thresholds{1, 2, 3};
  EXPECT_FALSE(lookUp.getThresholdsForFEB("dcm-2-01-02", 0, thresholds));
  EXPECT_FALSE(lookUp.getThresholdsForFEB("", 0, thresholds));
  EXPECT_FALSE(lookUp.getThresholdsForFEB("dcm-2-01-01", 64, thresholds));
  EXPECT_FALSE(lookUp.getThresholdsForFEB("dcm-2-01-01", -1, thresholds));
  EXPECT_THAT(thresholds, ElementsAre(1, 2, 3));
}

TEST_F(PixelThresholdsLookUp, AsksOnceForAllDCMs) {
  AddConfiguration(77);
  std::vector<std::string> names;
  for (int dcm = 1; dcm <= 12; ++dcm) {
    names.push_back("dcm-2-01-" + std::to_string(dcm));
    AddThresholds(77, names.back(), Repeated("00" + std::to_string(10 + dcm), 2048));
  }
  const auto before = dbi::ConnectionStatistics::Now();
  const PixelThresholds lookUp(77, names);
  const auto after = dbi::ConnectionStatistics::Now();
  EXPECT_EQ(after.statementsSent - before.statementsSent, 1);
  EXPECT_EQ(after.connectionsOpened - before.connectionsOpened, 1);
  EXPECT_TRUE(lookUp.hasValidData());
  std::vector<short> thresholds;
  EXPECT_TRUE(lookUp.getThresholdsForFEB("dcm-2-01-3", 5, thresholds));
  EXPECT_EQ(thresholds, std::vector<short>(32, 0x13));
  EXPECT_EQ(dbi::ConnectionStatistics::Now().statementsSent, after.statementsSent) << "answers from memory";
}

TEST_F(PixelThresholdsLookUp, KeepsToTheConfigurationAndTheDCMs) {
  AddConfiguration(77);
  AddConfiguration(78);
  AddThresholds(78, "dcm-2-01-01", Repeated("0033", 2048));
  AddThresholds(77, "dcm-2-01-01", Repeated("0032", 2048));
  AddThresholds(77, "dcm-2-01-02", Repeated("0034", 2048));
  AddThresholds(76, "dcm-2-01-01", Repeated("0035", 2048));
  std::vector<short> thresholds;
  for (const auto& [configId, expected] : {std::pair(77LL, 0x32), std::pair(78LL, 0x33)}) {
    const PixelThresholds lookUp(configId, {"dcm-2-01-01"});
    ASSERT_TRUE(lookUp.hasValidData());
    ASSERT_TRUE(lookUp.getThresholdsForFEB("dcm-2-01-01", 0, thresholds));
    EXPECT_EQ(thresholds, std::vector<short>(32, static_cast<short>(expected)));
    EXPECT_FALSE(lookUp.getThresholdsForFEB("dcm-2-01-02", 0, thresholds)) << "not asked for";
  }
}

TEST_F(PixelThresholdsLookUp, OfNoDCMsIsValidWithoutAQuestion) {
  const auto before = dbi::ConnectionStatistics::Now();
  const PixelThresholds lookUp(77, {});
  EXPECT_TRUE(lookUp.hasValidData());
  EXPECT_EQ(dbi::ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

TEST_F(PixelThresholdsLookUp, OfAnUnknownConfigurationIsNotValid) {
  AddThresholds(77, "dcm-2-01-01", Repeated("0032", 2048));
  const PixelThresholds lookUp(77, {"dcm-2-01-01"});
  EXPECT_FALSE(lookUp.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("there is no configuration 77 in daqconfig.configurations"));
}

TEST_F(PixelThresholdsLookUp, OfPartOfTheDCMsIsNotValidAndSaysWhatIsMissing) {
  AddConfiguration(77);
  AddThresholds(77, "dcm-2-01-02", Repeated("0032", 2048));
  const PixelThresholds lookUp(77, {"dcm-2-01-04", "dcm-2-01-03", "dcm-2-01-02"});
  EXPECT_FALSE(lookUp.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("configuration 77 has no thresholds for 2 of 3 DCMs, the first: dcm-2-01-03"));
  std::vector<short> thresholds{1};
  EXPECT_FALSE(lookUp.getThresholdsForFEB("dcm-2-01-03", 0, thresholds));
  EXPECT_THAT(thresholds, ElementsAre(1));
}

TEST_F(PixelThresholdsLookUp, OfAnotherLengthOrNullIsNotFound) {
  AddConfiguration(77);
  Execute(
      "ALTER TABLE daqconfig.thresholds DROP CONSTRAINT thresholds_thresholds_check, "
      "ALTER thresholds DROP NOT NULL");
  AddThresholds(77, "dcm-2-01-01", Repeated("0032", 2048));
  AddThresholds(77, "dcm-2-01-02", Repeated("0032", 2047));
  AddThresholds(77, "dcm-2-01-03", Repeated("0032", 2049));
  AddThresholds(77, "dcm-2-01-04", "");
  Execute("INSERT INTO daqconfig.thresholds VALUES (77, 'dcm-2-01-05', NULL)");
  const PixelThresholds lookUp(77,
                               {"dcm-2-01-01", "dcm-2-01-02", "dcm-2-01-03", "dcm-2-01-04", "dcm-2-01-05"});
  EXPECT_FALSE(lookUp.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("configuration 77 has no thresholds for 4 of 5 DCMs, the first: dcm-2-01-02"));
}

TEST_F(PixelThresholdsLookUp, OfATypeThatHoldsNoBytesIsNotValid) {
  AddConfiguration(77);
  Execute("DROP VIEW daqconfig.pixel_thresholds");
  Execute("ALTER TABLE daqconfig.thresholds DROP COLUMN thresholds, ADD COLUMN thresholds smallint[]");
  Execute(
      "INSERT INTO daqconfig.thresholds VALUES (77, 'dcm-2-01-01', array_fill(50::smallint, ARRAY[2048]))");
  const PixelThresholds lookUp(77, {"dcm-2-01-01"});
  EXPECT_FALSE(lookUp.hasValidData());
  EXPECT_THAT(Errors("BrioDatabase"),
              ElementsAre(testing::HasSubstr("cannot cast type smallint[] to bytea")));
}

}  // namespace
}  // namespace brio::test
