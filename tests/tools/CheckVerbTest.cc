#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

CommandResult Check(const std::string& databases, Arguments more = {}) {
  more.insert(more.begin(), "check");
  return RunHistoryCommand(OnDatabases(databases, "Birch", more));
}

const nlohmann::json& Named(const nlohmann::json& report, const std::string& name) {
  for (const auto& database : report["databases"]) {
    if (database["name"] == name) { return database; }
  }
  throw std::runtime_error("the report has no " + name);
}

/// The lines of check's text that begin with a word, indented, each once.
std::set<std::string> LinesOf(const std::string& output, const std::string& word) {
  std::set<std::string> lines;
  std::istringstream text(output);
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("    " + word, 0) == 0) { lines.insert(line.substr(4)); }
  }
  return lines;
}

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

TEST(CheckVerb, NamesWhatIsMissing) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("DROP TABLE slowcontrol.apd_settings");
  databases.Execute("ALTER TABLE daq.runs DROP COLUMN shifter");
  databases.Execute("DROP INDEX daq.runs_run");
  databases.Execute("REVOKE SELECT ON millpondprod_factory.apd FROM PUBLIC, brio_reader");
  const auto result = Check(databases.Template(), {"--json"});
  EXPECT_EQ(result.status, 1);
  const auto report = nlohmann::json::parse(result.output);
  EXPECT_EQ(Named(report, "slowcontrol")["missing_tables"], Arguments{"slowcontrol.apd_settings"});
  EXPECT_EQ(Named(report, "runs")["missing_columns"], Arguments{"daq.runs.shifter"});
  EXPECT_EQ(Named(report, "runs")["missing_indexes"], Arguments{"daq.runs_run"});
  EXPECT_EQ(Named(report, "hardware")["not_readable"], Arguments{"millpondprod_factory.apd"});
  EXPECT_EQ(report["can_load"], false);
  const auto text = Check(databases.Template()).output;
  for (const auto* line :
       {"\n    missing table slowcontrol.apd_settings\n", "\n    missing column daq.runs.shifter\n",
        "\n    not readable: millpondprod_factory.apd\n", "\n    missing index daq.runs_run\n"}) {
    EXPECT_THAT(text, HasSubstr(line));
  }
}

TEST(CheckVerb, TakesARunAsLoadedThoughSomethingItDoesNotNeedIsMissing) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("ALTER TABLE daq.runs DROP COLUMN shifter");
  databases.Execute("DROP INDEX daq.runs_run");
  EXPECT_EQ(Check(databases.Template()).status, 0);
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

TEST(CheckVerb, HasStatusOneWhenATableCannotBeReadThoughTheRunCanBeLoaded) {
  const ScratchDatabases databases("small", {"birch"});
  const std::string complaint =
      "runhistory: Birch: not all that the library reads is there and can be read\n";
  databases.Execute("REVOKE SELECT ON beam.potbyrun FROM PUBLIC, brio_reader");
  const auto unreadable = Check(databases.Template());
  EXPECT_EQ(unreadable.status, 1);
  EXPECT_THAT(unreadable.output, HasSubstr("\n    not readable: beam.potbyrun\n"));
  EXPECT_THAT(unreadable.output, Not(HasSubstr("failed")));
  EXPECT_THAT(unreadable.error, HasSubstr(complaint));
  databases.Execute("GRANT SELECT ON beam.potbyrun TO brio_reader; DROP TABLE dataquality.dqsubruninfo");
  EXPECT_THAT(Check(databases.Template()).error, HasSubstr(complaint));
}

TEST(CheckVerb, HasStatusOneWithoutTheRightToUseASchema) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE USAGE ON SCHEMA dataquality FROM PUBLIC, brio_reader");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n    not readable: dataquality.dqsubruninfo\n"));
}

TEST(CheckVerb, TakesGrantsOfColumnsThatSuffice) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "REVOKE SELECT ON beam.potbyrun, daq.runs FROM PUBLIC, brio_reader;"
      "ALTER TABLE beam.potbyrun ADD secret text;"
      "GRANT SELECT (run, npot) ON beam.potbyrun TO brio_reader;"
      "GRANT SELECT (run, tstart, tstop, configid, nsubruns, nactivechan, partition, runtype) ON daq.runs TO "
      "brio_reader");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 0) << result.output << result.error;
  EXPECT_THAT(result.output, Not(HasSubstr("potbyrun")));
  EXPECT_THAT(result.output, HasSubstr("\n    not readable: daq.runs.shifter\n"));
  databases.Execute("REVOKE SELECT (npot) ON beam.potbyrun FROM brio_reader");
  const auto without = Check(databases.Template());
  EXPECT_EQ(without.status, 1);
  EXPECT_THAT(without.output, HasSubstr("\n    not readable: beam.potbyrun.npot\n"));
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

TEST(CheckVerb, SaysWhichColumnsHaveAnotherType) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "ALTER TABLE daq.runs ALTER tstart TYPE timestamptz USING tstart AT TIME ZONE 'UTC';"
      "ALTER TABLE daq.runs ALTER runtype TYPE varchar(40), ALTER nsubruns TYPE bigint");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(LinesOf(result.output, "wrong type:"),
              ElementsAre("wrong type: daq.runs.tstart is timestamp with time zone, not timestamp"));
  const auto report = nlohmann::json::parse(Check(databases.Template(), {"--json"}).output);
  EXPECT_EQ(Named(report, "runs")["wrong_types"],
            Arguments{"daq.runs.tstart is timestamp with time zone, not timestamp"});
}

TEST(ShowVerb, HasNoDurationFromAStartThatCannotBeRead) {
  const ScratchDatabases databases("small", {"birch"});
  const auto show = [&](const Arguments& more = {}) {
    Arguments arguments{"show", "--run", "13000"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunHistoryCommand(OnDatabases(databases.Template(), "Birch", arguments)).output;
  };
  databases.Execute("UPDATE daq.runs SET tstop = tstart - interval '1 s' WHERE run = 13000");
  EXPECT_THAT(show(), HasSubstr("\n  duration        not known: the stop is before the start\n"));
  databases.Execute("ALTER TABLE daq.runs ALTER tstart TYPE timestamptz USING tstart AT TIME ZONE 'UTC'");
  EXPECT_THAT(show(), HasSubstr("\n  duration        not known: the start cannot be read as a time\n"));
  const auto json = nlohmann::json::parse(show({"--json"}));
  EXPECT_TRUE(json["duration"].is_null());
  EXPECT_EQ(json["not_known"]["duration"], "the start cannot be read as a time");
}

TEST(CheckVerb, AsksForWhatTheDetectorNeeds) {
  const auto tables = [](const std::string& detector) {
    const auto output = OnSmall(detector, {"check"}).output;
    const auto hardware = output.find("\n  hardware");
    const auto from = output.find("\n                ", hardware);
    return output.substr(from + 17, output.find(" tables", from) - from - 17);
  };
  EXPECT_EQ(tables("Birch"), "10 of 10");
  EXPECT_EQ(tables("Alder"), "1 of 1");
  EXPECT_EQ(tables("Cedar"), "0 of 0");
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

std::string ColumnsOf(const std::string& database) {
  std::string text;
  const auto rows = server::Query(
      database,
      "SELECT table_schema, table_name, column_name, data_type, is_nullable FROM information_schema.columns "
      "WHERE table_schema NOT IN ('pg_catalog', 'information_schema') ORDER BY 1, 2, ordinal_position");
  for (const auto& row : rows) {
    for (const auto& value : row) {
      text += value + ' ';
    }
    text += '\n';
  }
  return text;
}

std::string IndexesOf(const std::string& database) {
  std::string text;
  for (const auto& row :
       server::Query(database,
                     "SELECT indexdef FROM pg_indexes WHERE schemaname NOT IN "
                     "('pg_catalog', 'information_schema') ORDER BY schemaname, indexname")) {
    text += row[0] + '\n';
  }
  return text;
}

/// A database without any table, dropped when the object dies.
struct BareDatabase {
  BareDatabase() { server::Query("postgres", "CREATE DATABASE " + name + " TEMPLATE template0"); }
  ~BareDatabase() { server::Query("postgres", "DROP DATABASE " + name + " WITH (FORCE)"); }
  std::string name = "schema_verb_" + std::to_string(getpid());
};

TEST(SchemaVerb, MakesTheTablesThatTheLibraryReads) {
  const BareDatabase bare;
  const auto result = RunHistoryCommand({"schema", "--hardware", "--indexes"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, testing::IsEmpty());
  server::Query(bare.name, result.output);
  const auto columns = ColumnsOf(bare.name);
  EXPECT_THAT(columns, HasSubstr("daq runs tstart "));
  EXPECT_EQ(columns, ColumnsOf("empty_birch"));
  EXPECT_EQ(IndexesOf(bare.name), IndexesOf("empty_birch"));
}

TEST(SchemaVerb, LeavesTheHardwareDatabaseAloneUnlessAsked) {
  const BareDatabase bare;
  const auto result = RunHistoryCommand({"schema"});
  EXPECT_EQ(result.status, 0);
  server::Query(bare.name, result.output);
  EXPECT_THAT(ColumnsOf(bare.name), Not(HasSubstr("millpondprod_factory")));
  EXPECT_THAT(IndexesOf(bare.name), HasSubstr("INDEX runs_run ON daq.runs"));
  EXPECT_THAT(result.output, Not(HasSubstr("apd_pixel_m")));
  EXPECT_THAT(RunHistoryCommand({"schema", "--indexes"}).output, HasSubstr("CREATE INDEX apd_pixel_m_gain"));
}

TEST(SchemaVerb, SaysWhichFileIsMissing) {
  const EnvironmentVariable nowhere("BRIO_SEARCH_PATH", "/nonexistent");
  std::filesystem::current_path(testing::TempDir());
  const auto result = RunHistoryCommand({"schema"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("RunHistory/tables/Runs.xml"));
}

}  // namespace
}  // namespace brio::test
