#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/CheckReport.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

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

TEST(CheckVerb, SaysWhichColumnsOfTheHardwareTablesHaveAnotherType) {
  const ScratchDatabases databases("small", {"alder", "birch"});
  // Taken for a time of another zone, by the statement's AT TIME ZONE 'CDT'.
  databases.Execute(
      "ALTER TABLE millpondprod_factory.brio_connection ALTER date_created TYPE timestamp;"
      "ALTER TABLE public.apd_stats ALTER vr TYPE numeric, ALTER apd_id TYPE varchar(40)");
  const std::string date = "millpondprod_factory.brio_connection.date_created";
  const auto far = Check(databases.Template());
  EXPECT_EQ(far.status, 1);
  EXPECT_THAT(far.output, Not(HasSubstr("failed")));
  EXPECT_THAT(
      LinesOf(far.output, "wrong type:"),
      ElementsAre("wrong type: " + date + " is timestamp without time zone, not timestamp with time zone"));
  EXPECT_EQ(
      Named(nlohmann::json::parse(Check(databases.Template(), {"--json"}).output), "hardware")["wrong_types"],
      Arguments{date + " is timestamp without time zone, not timestamp with time zone"});

  databases.Execute("ALTER TABLE public.hardware_position ALTER dcm_port TYPE text", "alder");
  databases.Execute("ALTER TABLE slowcontrol.apd_settings ALTER temperature_enabled TYPE text", "alder");
  const auto near = RunHistoryCommand(OnDatabases(databases.Template(), "Alder", {"check"}));
  EXPECT_EQ(near.status, 1);
  EXPECT_THAT(LinesOf(near.output, "wrong type:"),
              ElementsAre("wrong type: public.hardware_position.dcm_port is text, not integer",
                          "wrong type: slowcontrol.apd_settings.temperature_enabled is text, not boolean"));
}

TEST(CheckVerb, FindsNoOtherTypesInTheSample) {
  for (const auto* detector : {"Birch", "Alder", "Cedar"}) {
    const auto report = JsonOnSmall(detector, {"check"});
    for (const auto& database : report["databases"]) {
      EXPECT_EQ(database["wrong_types"], Arguments{});
    }
  }
}

TEST(CheckVerb, DoesNotCountHardwareColumnsThatNoLoaderAsksFor) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "ALTER TABLE millpondprod_factory.barcoded_item DROP added_by;"
      "ALTER TABLE millpondprod_factory.module DROP orientation;"
      "ALTER TABLE millpondprod_factory.apd DROP wafer;"
      "ALTER TABLE public.apd_stats DROP gain_mean;"
      "ALTER TABLE public.feb_comm_cables ALTER cable_id TYPE text;"
      "ALTER TABLE daqconfig.configurations DROP description, DROP created");
  const auto result = Check(databases.Template());
  EXPECT_EQ(result.status, 0) << result.output << result.error;
  EXPECT_THAT(LinesOf(result.output, "missing column"),
              ElementsAre("missing column daqconfig.configurations.created",
                          "missing column daqconfig.configurations.description",
                          "missing column millpondprod_factory.apd.wafer",
                          "missing column millpondprod_factory.barcoded_item.added_by",
                          "missing column millpondprod_factory.module.orientation",
                          "missing column public.apd_stats.gain_mean"));
  EXPECT_THAT(LinesOf(result.output, "wrong type:"),
              ElementsAre("wrong type: public.feb_comm_cables.cable_id is text, not integer"));
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

}  // namespace
}  // namespace brio::test
