#include "experiment/daqconfig/PixelEnableMasks.h"

#include <type_traits>

#include <gmock/gmock.h>

#include "tests/experiment/LookUpDatabase.h"

namespace brio::test {
namespace {

using dbutils::daqconfig::PixelEnableMasks;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<PixelEnableMasks>);

class PixelEnableMasksLookUp : public LookUpDatabase {
protected:
  /// One DCM: ports 0 and 63 enabled; masks 0x00000005, none, ..., 0x80000001 on port 63.
  void AddOrdinary(const std::string& dcm) const {
    AddMasks(77, dcm, "-9223372036854775807", "00000005" + Repeated("00000000", 62) + "80000001");
  }
};

TEST_F(PixelEnableMasksLookUp, AnswersForEveryPort) {
  AddConfiguration(77);
  AddOrdinary("dcm-2-01-01");
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  ASSERT_TRUE(masks.hasValidData());
  long long febMask = 0;
  EXPECT_TRUE(masks.getFEBEnableMask("dcm-2-01-01", febMask));
  EXPECT_EQ(static_cast<unsigned long long>(febMask), 0x8000000000000001ULL);
  for (int port = 0; port < 64; ++port) {
    SCOPED_TRACE(port);
    EXPECT_EQ(masks.febIsEnabled("dcm-2-01-01", port), port == 0 || port == 63);
    int mask = 99;
    EXPECT_TRUE(masks.getPixelEnableMask("dcm-2-01-01", port, mask));
    EXPECT_EQ(static_cast<unsigned int>(mask), port == 0 ? 5U : port == 63 ? 0x80000001U : 0U);
    EXPECT_EQ(masks.getEnabledPixelCountForFEB("dcm-2-01-01", port), port == 0 || port == 63 ? 2 : 0);
  }
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(PixelEnableMasksLookUp, CountsAllPixels) {
  AddConfiguration(77);
  AddMasks(77, "dcm-2-01-01", "0", Repeated("ffffffff", 64));
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  EXPECT_EQ(masks.getEnabledPixelCountForFEB("dcm-2-01-01", 63), 32) << "also of a board that is off";
}

TEST_F(PixelEnableMasksLookUp, LeavesOutputsAsTheyWereWhereNothingIs) {
  AddConfiguration(77);
  AddOrdinary("dcm-2-01-01");
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  long long febMask = 99;
  EXPECT_FALSE(masks.getFEBEnableMask("dcm-2-01-02", febMask));
  EXPECT_EQ(febMask, 99);
  const struct {
    const char* dcm;
    int port;
  } places[] = {{"dcm-2-01-02", 0},          {"", 0},
                {"dcm-2-01-01", 64},         {"dcm-2-01-01", -1},
                {"dcm-2-01-01", 2147483647}, {"dcm-2-01-01", -2147483647 - 1}};
  for (const auto& [dcm, port] : places) {
    SCOPED_TRACE(std::string(dcm) + " port " + std::to_string(port));
    int mask = 99;
    EXPECT_FALSE(masks.febIsEnabled(dcm, port));
    EXPECT_FALSE(masks.getPixelEnableMask(dcm, port, mask));
    EXPECT_EQ(mask, 99);
    EXPECT_EQ(masks.getEnabledPixelCountForFEB(dcm, port), 0);
  }
}

TEST_F(PixelEnableMasksLookUp, AsksOnceForAllDCMs) {
  AddConfiguration(77);
  std::vector<std::string> names;
  for (int dcm = 12; dcm >= 1; --dcm) {
    names.push_back("dcm-2-01-" + std::to_string(dcm));
    AddMasks(77, names.back(), std::to_string(dcm), Repeated("0000ffff", 64));
  }
  const auto before = dbi::ConnectionStatistics::Now();
  const PixelEnableMasks masks(77, names);
  const auto after = dbi::ConnectionStatistics::Now();
  EXPECT_EQ(after.statementsSent - before.statementsSent, 1);
  EXPECT_EQ(after.connectionsOpened - before.connectionsOpened, 1);
  EXPECT_TRUE(masks.hasValidData());
  for (int dcm = 1; dcm <= 12; ++dcm) {
    long long febMask = 0;
    EXPECT_TRUE(masks.getFEBEnableMask("dcm-2-01-" + std::to_string(dcm), febMask));
    EXPECT_EQ(febMask, dcm);
  }
  EXPECT_EQ(dbi::ConnectionStatistics::Now().statementsSent, after.statementsSent) << "answers from memory";
}

TEST_F(PixelEnableMasksLookUp, KeepsToTheConfigurationAndTheDCMs) {
  AddConfiguration(77);
  AddConfiguration(78);
  AddMasks(77, "dcm-2-01-01", "1", Repeated("00000001", 64));
  AddMasks(77, "dcm-2-01-02", "2", Repeated("00000002", 64));
  AddMasks(78, "dcm-2-01-01", "3", Repeated("00000003", 64));
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  ASSERT_TRUE(masks.hasValidData());
  long long febMask = 0;
  EXPECT_TRUE(masks.getFEBEnableMask("dcm-2-01-01", febMask));
  EXPECT_EQ(febMask, 1);
  EXPECT_FALSE(masks.getFEBEnableMask("dcm-2-01-02", febMask)) << "not asked for";
}

TEST_F(PixelEnableMasksLookUp, OfNoDCMsIsValidWithoutAQuestion) {
  const auto before = dbi::ConnectionStatistics::Now();
  const PixelEnableMasks masks(77, {});
  EXPECT_TRUE(masks.hasValidData());
  EXPECT_EQ(dbi::ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_FALSE(masks.febIsEnabled("dcm-2-01-01", 0));
}

TEST_F(PixelEnableMasksLookUp, TakesRepeatedAndStrangeNames) {
  AddConfiguration(77);
  AddOrdinary("dcm-2-01-01");
  AddOrdinary(R"(od"d, {n}\ame)");
  const PixelEnableMasks masks(77, {R"(od"d, {n}\ame)", "dcm-2-01-01", "dcm-2-01-01"});
  EXPECT_TRUE(masks.hasValidData());
  EXPECT_TRUE(masks.febIsEnabled(R"(od"d, {n}\ame)", 63));
  const PixelEnableMasks quoted(77, {"x'; DROP TABLE daqconfig.enable_masks; --"});
  EXPECT_FALSE(quoted.hasValidData());
  EXPECT_EQ(server::Value(databases.Name(), "SELECT count(*) FROM daqconfig.enable_masks"), "2");
}

TEST_F(PixelEnableMasksLookUp, OfAnUnknownConfigurationIsNotValid) {
  AddOrdinary("dcm-2-01-01");
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  EXPECT_FALSE(masks.hasValidData()) << "its masks alone make no configuration";
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("there is no configuration 77 in daqconfig.configurations"));
  EXPECT_FALSE(masks.febIsEnabled("dcm-2-01-01", 0));
}

TEST_F(PixelEnableMasksLookUp, OfPartOfTheDCMsIsNotValidAndSaysWhatIsMissing) {
  AddConfiguration(77);
  AddOrdinary("dcm-2-01-02");
  const PixelEnableMasks masks(77, {"dcm-2-01-04", "dcm-2-01-03", "dcm-2-01-02"});
  EXPECT_FALSE(masks.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("configuration 77 has no enable masks for 2 of 3 DCMs, the first: dcm-2-01-03"));
  EXPECT_TRUE(masks.febIsEnabled("dcm-2-01-02", 63)) << "what was found answers";
  long long febMask = 99;
  EXPECT_FALSE(masks.getFEBEnableMask("dcm-2-01-03", febMask));
  EXPECT_EQ(febMask, 99);
}

TEST_F(PixelEnableMasksLookUp, OfAnotherLengthIsNotFound) {
  AddConfiguration(77);
  Execute("ALTER TABLE daqconfig.enable_masks DROP CONSTRAINT enable_masks_pixel_enable_masks_check");
  AddOrdinary("dcm-2-01-01");
  AddMasks(77, "dcm-2-01-02", "1", Repeated("00000001", 63));
  AddMasks(77, "dcm-2-01-03", "1", Repeated("00000001", 65));
  AddMasks(77, "dcm-2-01-04", "1", "");
  const PixelEnableMasks masks(77, {"dcm-2-01-01", "dcm-2-01-02", "dcm-2-01-03", "dcm-2-01-04"});
  EXPECT_FALSE(masks.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("configuration 77 has no enable masks for 3 of 4 DCMs, the first: dcm-2-01-02"));
  EXPECT_TRUE(masks.febIsEnabled("dcm-2-01-01", 0));
  EXPECT_FALSE(masks.febIsEnabled("dcm-2-01-02", 0));
}

TEST_F(PixelEnableMasksLookUp, ThatIsNullIsNotFound) {
  AddConfiguration(77);
  Execute(
      "ALTER TABLE daqconfig.enable_masks ALTER feb_enable_mask DROP NOT NULL, "
      "ALTER pixel_enable_masks DROP NOT NULL");
  AddMasks(77, "dcm-2-01-01", "NULL", Repeated("00000001", 64));
  Execute("INSERT INTO daqconfig.enable_masks VALUES (77, 'dcm-2-01-02', 1, NULL)");
  const PixelEnableMasks masks(77, {"dcm-2-01-01", "dcm-2-01-02"});
  EXPECT_FALSE(masks.hasValidData());
  EXPECT_THAT(Errors("DAQConfiguration"),
              ElementsAre("configuration 77 has no enable masks for 2 of 2 DCMs, the first: dcm-2-01-01"));
}

TEST_F(PixelEnableMasksLookUp, ReadsColumnsOfOtherTypes) {
  AddConfiguration(77);
  Execute("DROP VIEW daqconfig.feb_masks");
  Execute(
      "ALTER TABLE daqconfig.enable_masks DROP CONSTRAINT enable_masks_pixel_enable_masks_check, "
      "ALTER config_id TYPE integer, ALTER dcm_name TYPE varchar(40), ALTER feb_enable_mask TYPE numeric, "
      "ALTER pixel_enable_masks TYPE text USING pixel_enable_masks::text");
  Execute("INSERT INTO daqconfig.enable_masks VALUES (77, 'dcm-2-01-01', 3, '\\x" + Repeated("80000001", 64) +
          "')");
  const PixelEnableMasks masks(77, {"dcm-2-01-01"});
  EXPECT_TRUE(masks.hasValidData());
  long long febMask = 0;
  EXPECT_TRUE(masks.getFEBEnableMask("dcm-2-01-01", febMask));
  EXPECT_EQ(febMask, 3);
  int mask = 0;
  EXPECT_TRUE(masks.getPixelEnableMask("dcm-2-01-01", 63, mask));
  EXPECT_EQ(static_cast<unsigned int>(mask), 0x80000001U);
}

}  // namespace
}  // namespace brio::test
