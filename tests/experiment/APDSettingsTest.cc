#include "experiment/dcs/APDSettings.h"

#include <type_traits>

#include <gmock/gmock.h>

#include "tests/experiment/LookUpDatabase.h"

namespace brio::test {
namespace {

using dbutils::dcs::APDSettings;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<APDSettings>);

using APDSettingsLookUp = LookUpDatabase;

/// What the three questions answer about a port, asked with outputs that show whether they were written.
struct Answers {
  explicit Answers(const APDSettings& settings, const std::string& dcm, int port)
      : hasEnabled(settings.getTemperatureEnable(dcm, port, enabled)),
        hasTemperature(settings.getTemperature(dcm, port, temperature)),
        hasVoltage(settings.getVoltage(dcm, port, voltage)) {}
  bool enabled = true;
  double temperature = 99.5;
  int voltage = 99;
  bool hasEnabled;
  bool hasTemperature;
  bool hasVoltage;
};

void ExpectNothing(const Answers& answers) {
  EXPECT_FALSE(answers.hasEnabled);
  EXPECT_FALSE(answers.hasTemperature);
  EXPECT_FALSE(answers.hasVoltage);
  EXPECT_TRUE(answers.enabled);
  EXPECT_EQ(answers.temperature, 99.5);
  EXPECT_EQ(answers.voltage, 99);
}

TEST_F(APDSettingsLookUp, AnswersForEveryPort) {
  for (int port = 0; port < 64; ++port) {
    AddSettings(
        77, "dcm-2-01-01", port,
        (port % 2 == 0 ? "true, " : "false, ") + std::to_string(-port) + ".1, " + std::to_string(-port));
  }
  const APDSettings settings(77, {"dcm-2-01-01"});
  EXPECT_TRUE(settings.hasValidData());
  for (int port = 0; port < 64; ++port) {
    const Answers answers(settings, "dcm-2-01-01", port);
    EXPECT_TRUE(answers.hasEnabled && answers.hasTemperature && answers.hasVoltage);
    EXPECT_EQ(answers.enabled, port % 2 == 0);
    EXPECT_EQ(answers.temperature, std::stod(std::to_string(-port) + ".1"));
    EXPECT_EQ(answers.voltage, -port);
  }
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(APDSettingsLookUp, LeavesOutputsAsTheyWereWhereNothingIs) {
  AddSettings(77, "dcm-2-01-01", 0, "false, -15, 400");
  AddSettings(77, "dcm-2-01-01", 2, "NULL, NULL, NULL");
  AddSettings(77, "dcm-2-01-02", 0, "false, -15, 400");
  AddSettings(78, "dcm-2-01-01", 1, "false, -15, 400");
  const APDSettings settings(77, {"dcm-2-01-01"});
  EXPECT_TRUE(settings.hasValidData());
  for (const int port : {1, 2, 63, 64, -1, 2147483647}) {
    ExpectNothing(Answers(settings, "dcm-2-01-01", port));
  }
  ExpectNothing(Answers(settings, "dcm-2-01-02", 0));
  ExpectNothing(Answers(settings, "", 0));
}

TEST_F(APDSettingsLookUp, KnowsEachValueForItself) {
  AddSettings(77, "dcm-2-01-01", 0, "false, NULL, 400");
  AddSettings(77, "dcm-2-01-01", 1, "NULL, -15.25, NULL");
  const APDSettings settings(77, {"dcm-2-01-01"});
  const Answers first(settings, "dcm-2-01-01", 0);
  EXPECT_FALSE(first.enabled);
  EXPECT_FALSE(first.hasTemperature);
  EXPECT_EQ(first.voltage, 400);
  const Answers second(settings, "dcm-2-01-01", 1);
  EXPECT_FALSE(second.hasEnabled);
  EXPECT_EQ(second.temperature, -15.25);
  EXPECT_FALSE(second.hasVoltage);
}

TEST_F(APDSettingsLookUp, AsksOnceForAllDCMs) {
  std::vector<std::string> names;
  for (int dcm = 1; dcm <= 12; ++dcm) {
    names.push_back("dcm-2-01-" + std::to_string(dcm));
    AddSettings(77, names.back(), dcm, "true, -15, " + std::to_string(400 + dcm));
  }
  const auto before = dbi::ConnectionStatistics::Now();
  const APDSettings settings(77, names);
  const auto after = dbi::ConnectionStatistics::Now();
  EXPECT_EQ(after.statementsSent - before.statementsSent, 1);
  EXPECT_EQ(after.connectionsOpened - before.connectionsOpened, 1);
  EXPECT_TRUE(settings.hasValidData());
  EXPECT_EQ(Answers(settings, "dcm-2-01-7", 7).voltage, 407);
  EXPECT_EQ(dbi::ConnectionStatistics::Now().statementsSent, after.statementsSent) << "answers from memory";
}

TEST_F(APDSettingsLookUp, OfNoDCMsIsValidWithoutAQuestion) {
  const auto before = dbi::ConnectionStatistics::Now();
  const APDSettings settings(77, {});
  EXPECT_TRUE(settings.hasValidData());
  EXPECT_EQ(dbi::ConnectionStatistics::Now().connectionAttempts, before.connectionAttempts);
}

TEST_F(APDSettingsLookUp, OfPartOfTheDCMsIsNotValidAndSaysWhatIsMissing) {
  AddSettings(77, "dcm-2-01-02", 0, "true, -15, 400");
  const APDSettings settings(77, {"dcm-2-01-04", "dcm-2-01-03", "dcm-2-01-02"});
  EXPECT_FALSE(settings.hasValidData());
  EXPECT_THAT(Errors("SlowControl"),
              ElementsAre("configuration 77 has no APD settings for 2 of 3 DCMs, the first: dcm-2-01-03"));
  EXPECT_EQ(Answers(settings, "dcm-2-01-02", 0).voltage, 400);
  ExpectNothing(Answers(settings, "dcm-2-01-03", 0));
}

TEST_F(APDSettingsLookUp, OfPortsThatADCMLacksAreLeftOut) {
  Execute("ALTER TABLE slowcontrol.apd_settings DROP CONSTRAINT apd_settings_port_check");
  AddSettings(77, "dcm-2-01-01", 64, "true, -15, 400");
  AddSettings(77, "dcm-2-01-01", -1, "true, -15, 400");
  const APDSettings settings(77, {"dcm-2-01-01"});
  EXPECT_FALSE(settings.hasValidData());
  ExpectNothing(Answers(settings, "dcm-2-01-01", 64));
}

TEST_F(APDSettingsLookUp, ReadsColumnsOfOtherTypes) {
  Execute(
      "ALTER TABLE slowcontrol.apd_settings ALTER port TYPE bigint, ALTER temperature TYPE numeric, "
      "ALTER temperature_enabled TYPE integer USING 0, ALTER voltage TYPE smallint");
  AddSettings(77, "dcm-2-01-01", 5, "1, -15.25, 400");
  // As a number of eight bytes this would read as something else.
  AddSettings(77, "dcm-2-01-01", 6, "0, 0, 401");
  const APDSettings settings(77, {"dcm-2-01-01"});
  EXPECT_TRUE(settings.hasValidData());
  const Answers answers(settings, "dcm-2-01-01", 5);
  EXPECT_TRUE(answers.hasEnabled);
  EXPECT_EQ(answers.temperature, -15.25);
  EXPECT_EQ(answers.voltage, 400);
  EXPECT_FALSE(Answers(settings, "dcm-2-01-01", 6).enabled);
  EXPECT_EQ(Answers(settings, "dcm-2-01-01", 6).temperature, 0.0);
}

}  // namespace
}  // namespace brio::test
