// What all three look-ups do when their database cannot answer.
#include <functional>

#include <gmock/gmock.h>

#include "experiment/daqconfig/PixelEnableMasks.h"
#include "experiment/daqconfig/PixelThresholds.h"
#include "experiment/dcs/APDSettings.h"
#include "tests/experiment/LookUpDatabase.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

struct LookUp {
  const char* name;
  const char* category;
  const char* table;
  /// Makes one for a DCM of configuration 77. \return whether its data are valid
  bool (*isValid)();
};

void PrintTo(const LookUp& lookUp, std::ostream* stream) { *stream << lookUp.name; }

class LookUpFailures : public LookUpDatabase, public testing::WithParamInterface<LookUp> {
protected:
  LookUpFailures() {
    AddConfiguration(77);
    AddMasks(77, "dcm-2-01-01", "1", Repeated("00000001", 64));
    AddThresholds(77, "dcm-2-01-01", Repeated("0032", 2048));
    AddSettings(77, "dcm-2-01-01", 0, "true, -15, 400");
  }
  static bool IsValid() { return GetParam().isValid(); }
};

TEST_P(LookUpFailures, AreNoneForAWholeConfiguration) {
  EXPECT_TRUE(IsValid());
  EXPECT_THAT(messages.All(), SizeIs(0));
}

TEST_P(LookUpFailures, WithoutADetectorAreReported) {
  for (const char* value : {static_cast<const char*>(nullptr), ""}) {
    const EnvironmentVariable none("BRIODAQ_ENVIRONMENT", value);
    const auto before = dbi::ConnectionStatistics::Now();
    EXPECT_FALSE(IsValid());
    EXPECT_EQ(dbi::ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  }
  const std::string text = "the environment variable BRIODAQ_ENVIRONMENT does not name a detector";
  EXPECT_THAT(Errors(GetParam().category), ElementsAre(text, text));
}

TEST_P(LookUpFailures, WithADetectorThatIsNoNameAreReported) {
  const EnvironmentVariable odd("BRIODAQ_ENVIRONMENT", "Birch host=elsewhere");
  const auto before = dbi::ConnectionStatistics::Now();
  EXPECT_FALSE(IsValid());
  EXPECT_EQ(dbi::ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
  EXPECT_THAT(Errors("BrioDatabase"), SizeIs(1));
}

TEST_P(LookUpFailures, WithoutADatabaseAreReported) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", server::ConnectionString("nowhere"));
  EXPECT_FALSE(IsValid());
  EXPECT_THAT(Errors("BrioDatabase"), ElementsAre(HasSubstr("\"nowhere\" does not exist")));
}

TEST_P(LookUpFailures, WithoutATableAreReported) {
  Execute(std::string("DROP TABLE ") + GetParam().table + " CASCADE");
  EXPECT_FALSE(IsValid());
  EXPECT_THAT(Errors("BrioDatabase"),
              ElementsAre(HasSubstr(std::string("relation \"") + GetParam().table + "\" does not exist")));
}

TEST_P(LookUpFailures, WithoutARightAreReported) {
  Execute(std::string("REVOKE SELECT ON ") + GetParam().table + " FROM brio_reader");
  EXPECT_FALSE(IsValid());
  EXPECT_THAT(Errors("BrioDatabase"), ElementsAre(HasSubstr("permission denied")));
}

TEST_P(LookUpFailures, LeaveNoConnectionOpen) {
  EXPECT_TRUE(IsValid());
  EXPECT_EQ(server::LastingConnections(databases.Name()), 0);
  Execute(std::string("DROP TABLE ") + GetParam().table + " CASCADE");
  EXPECT_FALSE(IsValid());
  EXPECT_EQ(server::LastingConnections(databases.Name()), 0);
}

template <class Made>
bool IsValid() {
  return Made(77, {"dcm-2-01-01"}).hasValidData();
}

INSTANTIATE_TEST_SUITE_P(Of, LookUpFailures,
                         testing::Values(LookUp{"PixelEnableMasks", "DAQConfiguration",
                                                "daqconfig.enable_masks",
                                                &IsValid<dbutils::daqconfig::PixelEnableMasks>},
                                         LookUp{"PixelThresholds", "DAQConfiguration", "daqconfig.thresholds",
                                                &IsValid<dbutils::daqconfig::PixelThresholds>},
                                         LookUp{"APDSettings", "SlowControl", "slowcontrol.apd_settings",
                                                &IsValid<dbutils::dcs::APDSettings>}),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace brio::test
