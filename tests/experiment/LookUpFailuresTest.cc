// What all three look-ups do when their database cannot answer.
#include <functional>

#include <gmock/gmock.h>

#include "database/StepObserver.h"
#include "experiment/daqconfig/PixelEnableMasks.h"
#include "experiment/daqconfig/PixelThresholds.h"
#include "experiment/dcs/APDSettings.h"
#include "tests/experiment/LookUpDatabase.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

struct LookUp {
  const char* name;
  const char* category;
  const char* table;
  /// Makes one for DCMs of configuration 77. \return whether its data are valid
  bool (*isValidFor)(const std::vector<std::string>& names);
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
  static bool IsValid() { return GetParam().isValidFor({"dcm-2-01-01"}); }
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

/// So a source that has kept the answer of one run has it for every run of the configuration.
TEST_P(LookUpFailures, AreNotMadeByOtherDCMsAndTheStatementIsOneForAllSets) {
  AddMasks(77, "dcm-2-14-12", "1", Repeated("00000001", 64));
  AddThresholds(77, "dcm-2-14-12", Repeated("0032", 2048));
  AddSettings(77, "dcm-2-14-12", 0, "true, -15, 400");
  std::vector<std::string> sent;
  dbi::SetStepObserver([&sent](dbi::DatabaseStep step, const std::string& text) {
    if (step == dbi::DatabaseStep::Statement) { sent.push_back(text); }
  });
  EXPECT_TRUE(GetParam().isValidFor({"dcm-2-01-01"}));
  EXPECT_TRUE(GetParam().isValidFor({"dcm-2-14-12", "dcm-2-01-01"}));
  EXPECT_FALSE(GetParam().isValidFor({"dcm-2-14-12", "dcm-2-01-02"}));
  dbi::SetStepObserver({});
  ASSERT_THAT(sent, SizeIs(3));
  EXPECT_EQ(sent[1], sent[0]);
  EXPECT_EQ(sent[2], sent[0]);
  EXPECT_THAT(sent[0], HasSubstr("config_id = $1"));
  EXPECT_THAT(sent[0], Not(HasSubstr("$2")));
  EXPECT_THAT(Errors(GetParam().category),
              ElementsAre(HasSubstr(" for 1 of 2 DCMs, the first: dcm-2-01-02")));
}

template <class Made>
bool IsValid(const std::vector<std::string>& names) {
  return Made(77, names).hasValidData();
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
