#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/CheckReport.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(CheckVerb, FindsAllThereInTheSampleAndLoadsTheLastRun) {
  const auto report = JsonOnSmall("Birch", {"check"});
  EXPECT_EQ(report["can_load"], true);
  EXPECT_EQ(report["run"], 13040);
  ASSERT_EQ(report["databases"].size(), 4U);
  const auto version = server::Value("postgres", "SHOW server_version");
  for (const auto& database : report["databases"]) {
    EXPECT_EQ(database["version"], version.substr(0, version.find(' ')));
    EXPECT_EQ(database["database"], "small_birch");
    EXPECT_EQ(database["user"], "brio_reader");
    EXPECT_EQ(database["read_only"], false);
    for (const auto* list : {"missing_tables", "missing_columns", "not_readable", "missing_indexes"}) {
      EXPECT_TRUE(database[list].empty()) << database;
    }
    EXPECT_GT(database["connect_ms"], 0.0);
    EXPECT_GT(database["look_up_ms"], 0.0);
  }
  ASSERT_EQ(report["steps"].size(), 4U);
  for (const auto& step : report["steps"]) {
    EXPECT_EQ(step["loaded"], true);
    EXPECT_GT(step["ms"], 0.0);
  }
}

TEST(CheckVerb, LoadsTheRunThatIsAskedFor) {
  const auto result = Check(server::Template("small"), {"--run", "13015"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\nLoading run 13015\n  run record    loaded in "));
  EXPECT_THAT(result.output, HasSubstr("\n  configuration failed: there is no configuration 9999"));
  EXPECT_THAT(result.output, Not(HasSubstr("\n  settings")));
  EXPECT_THAT(result.error,
              HasSubstr("runhistory: Birch: run 13015 cannot be loaded from these databases\n"));
}

TEST(CheckVerb, OfARunWhoseSettingsCannotBeReadHasStatusOne) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON slowcontrol.apd_settings FROM PUBLIC, brio_reader");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  settings      failed: database"));
}

TEST(CheckVerb, OfANewSiteWithoutRunsHasStatusOne) {
  const auto result = Check(server::Template("empty"));
  EXPECT_EQ(result.status, 1);
  const std::string reason = "the last run of Birch cannot be told: the runs table is empty\n";
  EXPECT_THAT(result.output, HasSubstr("\nNo run to load: " + reason));
  EXPECT_THAT(result.error, HasSubstr("runhistory: Birch: " + reason));
  const auto report = nlohmann::json::parse(Check(server::Template("empty"), {"--json"}).output);
  EXPECT_EQ(report["can_load"], false);
  EXPECT_EQ(report["complete"], true);
}

TEST(CheckVerb, OfAMissingRunSaysSoAndNothingOfOthers) {
  const auto result = Check(server::Template("small"), {"--run", "14999"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  run record    failed: there is no such run\n"));
  EXPECT_THAT(result.error,
              HasSubstr("runhistory: Birch: there is no run 14999, which tells nothing of other runs; "
                        "without --run the last one is tried\n"));
  EXPECT_THAT(result.error, Not(HasSubstr("cannot be loaded")));
}

TEST(CheckVerb, OfADeadServerNamesTheReasonForEachDatabase) {
  const auto result = Check("host=/nonexistent dbname={database}");
  EXPECT_EQ(result.status, 1);
  for (const auto* name : {"runs       ", "hardware   ", "daqconfig  ", "slowcontrol"}) {
    EXPECT_THAT(result.output, HasSubstr("\n  " + std::string(name) + "   no answer: connection to server"));
  }
}

TEST(CheckVerb, KnowsAReadOnlyServer) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("ALTER DATABASE " + databases.Name() + " SET default_transaction_read_only = on");
  const auto report = nlohmann::json::parse(Check(databases.Template(), {"--json"}).output);
  EXPECT_EQ(Named(report, "runs")["read_only"], true);
}

}  // namespace
}  // namespace brio::test
