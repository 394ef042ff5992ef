#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/CheckReport.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(CheckVerb, TellsInWhichSchemaHardwarePositionIsFound) {
  const std::string note = "note: hardware_position is the one of schema ";
  EXPECT_THAT(LinesOf(OnSmall("Alder", {"check"}).output, "note:"), ElementsAre(note + "public"));
  EXPECT_THAT(LinesOf(OnSmall("Birch", {"check"}).output, "note:"), IsEmpty());
  const ScratchDatabases databases("small", {"alder"});
  const auto check = [&](const Arguments& more = {}) {
    Arguments arguments{"check"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunHistoryCommand(OnDatabases(databases.Template(), "Alder", arguments)).output;
  };
  EXPECT_EQ(Named(nlohmann::json::parse(check({"--json"})), "hardware")["hardware_position_schema"],
            "public");
  databases.Execute("ALTER TABLE public.hardware_position RENAME TO elsewhere", "alder");
  EXPECT_THAT(LinesOf(check(), "warning:"),
              ElementsAre("warning: hardware_position is in no schema where this role finds it"));
  const auto report = Named(nlohmann::json::parse(check({"--json"})), "hardware");
  EXPECT_TRUE(report["hardware_position_schema"].is_null());
  EXPECT_EQ(report["warnings"], Arguments{"hardware_position is in no schema where this role finds it"});
}

TEST(CheckVerb, WarnsOfRolesThatMayPutSomethingInTheLibrarysWay) {
  EXPECT_THAT(LinesOf(OnSmall("Birch", {"check"}).output, "warning:"), IsEmpty());
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("GRANT CREATE ON SCHEMA public TO PUBLIC, brio_password");
  databases.Execute("GRANT CREATE ON SCHEMA daq TO brio_nobody");  // which no name without a schema reaches
  databases.Execute("GRANT CREATE ON DATABASE " + databases.Name() + " TO brio_nobody, postgres");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(LinesOf(result.output, "warning:"),
              ElementsAre("warning: brio_nobody may create schemas in database " + databases.Name(),
                          "warning: brio_password may create objects in schema public",
                          "warning: every role may create objects in schema public"));
  EXPECT_EQ(
      Named(nlohmann::json::parse(Check(databases.Template(), {"--json"}).output), "slowcontrol")["warnings"],
      (Arguments{"brio_nobody may create schemas in database " + databases.Name(),
                 "brio_password may create objects in schema public",
                 "every role may create objects in schema public"}));
}

TEST(CheckVerb, WritesNothingThoughTheRunsTableIsAViewThatDoes) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("CREATE TABLE daq.log (n integer)");
  databases.Execute("GRANT INSERT ON daq.log TO PUBLIC");
  databases.Execute("ALTER TABLE daq.runs RENAME TO kept_runs");
  databases.Execute(
      "CREATE FUNCTION daq.read_runs() RETURNS SETOF daq.kept_runs VOLATILE LANGUAGE plpgsql SECURITY "
      "DEFINER AS "
      "$$ BEGIN INSERT INTO daq.log VALUES (1); RETURN QUERY SELECT * FROM daq.kept_runs; END $$");
  databases.Execute("CREATE VIEW daq.runs AS SELECT * FROM daq.read_runs()");
  databases.Execute("GRANT SELECT ON daq.runs TO PUBLIC");
  EXPECT_EQ(server::Value(databases.Name(), "SELECT max(run) FROM daq.runs"), "13040");
  EXPECT_EQ(server::Value(databases.Name(), "SELECT count(*) FROM daq.log"), "1");
  databases.Execute("DELETE FROM daq.log");

  const std::string refused = "cannot execute INSERT in a read-only transaction";
  const auto check = Check(databases.Template());
  EXPECT_EQ(check.status, 1);
  EXPECT_THAT(check.output, HasSubstr("\nNo run to load: the last run of Birch cannot be told: "));
  EXPECT_THAT(check.output, HasSubstr(refused));
  const auto range =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"pot", "--run", "13038-"}));
  EXPECT_EQ(range.status, 1);
  EXPECT_THAT(range.error, HasSubstr(refused));
  EXPECT_EQ(RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"show", "--run", "13000"})).status,
            1);
  EXPECT_EQ(server::Value(databases.Name(), "SELECT count(*) FROM daq.log"), "0");
}

}  // namespace
}  // namespace brio::test
