#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

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

/// What psql prints on standard error while it runs a text, as the owner, in one transaction.
std::string PsqlSays(const std::string& database, const std::string& sql) {
  const std::string file = testing::TempDir() + "/schema_verb.sql";
  std::ofstream(file) << sql;
  const std::string command =
      "env -u PGHOSTADDR -u PGSERVICE -u PGOPTIONS psql -X -q -1 -v ON_ERROR_STOP=1 -h " +
      server::SocketFolder() + " -p 5432 -U postgres -d " + database + " -f " + file + " 2>&1 >/dev/null";
  FILE* psql = popen(command.c_str(), "r");
  std::string said;
  for (int character = 0; (character = std::fgetc(psql)) != EOF;) {
    said += static_cast<char>(character);
  }
  EXPECT_EQ(pclose(psql), 0) << said;
  return said;
}

TEST(SchemaVerb, RunTwiceLeavesWhatIsThereAndSaysSo) {
  const BareDatabase bare;
  const auto sql = RunHistoryCommand({"schema", "--hardware", "--indexes"}).output;
  EXPECT_EQ(PsqlSays(bare.name, sql), "");
  server::Query(bare.name, "INSERT INTO daq.runs (run) VALUES (7)");
  server::Query(bare.name, "DROP TABLE slowcontrol.apd_settings");
  server::Query(bare.name, "DROP INDEX public.apd_pixel_m_gain");
  const auto said = PsqlSays(bare.name, sql);
  for (const auto* there :
       {"schema \"daq\"", "schema \"millpondprod_factory\"", "relation \"runs\"", "relation \"enable_masks\"",
        "relation \"hardware_position\"", "relation \"runs_run\"", "relation \"module_place\"",
        "statistics object \"module_place_statistics\""}) {
    EXPECT_THAT(said, HasSubstr(std::string("NOTICE:  ") + there + " already exists, skipping\n"));
  }
  EXPECT_THAT(said, Not(HasSubstr("apd_settings")));
  EXPECT_THAT(said, Not(HasSubstr("apd_pixel_m_gain")));
  EXPECT_EQ(server::Value(bare.name, "SELECT run FROM daq.runs"), "7");
  EXPECT_EQ(ColumnsOf(bare.name), ColumnsOf("empty_birch"));
  EXPECT_EQ(IndexesOf(bare.name), IndexesOf("empty_birch"));
}

TEST(SchemaVerb, MakesTheTablesOfOneDatabase) {
  std::string all;
  for (const auto* database : {"runs", "daqconfig", "slowcontrol", "hardware"}) {
    const auto result = RunHistoryCommand({"schema", "--indexes", "--only", database});
    EXPECT_EQ(result.status, 0) << result.error;
    const BareDatabase bare;
    server::Query(bare.name, result.output);
    EXPECT_THAT(ColumnsOf(bare.name), Not(testing::IsEmpty()));
    all += (all.empty() ? "" : "\n") + result.output;
  }
  EXPECT_EQ(all, RunHistoryCommand({"schema", "--hardware", "--indexes"}).output);
  EXPECT_THAT(RunHistoryCommand({"schema", "--only", "hardware"}).output, Not(HasSubstr("CREATE INDEX")));
  EXPECT_EQ(RunHistoryCommand({"schema", "--only", "birch"}).status, 2);
  EXPECT_EQ(RunHistoryCommand({"schema", "--only", "runs", "--hardware"}).status, 2);
}

TEST(SchemaVerb, LeavesTheHardwareDatabaseAloneUnlessAsked) {
  const BareDatabase bare;
  const auto result = RunHistoryCommand({"schema"});
  EXPECT_EQ(result.status, 0);
  server::Query(bare.name, result.output);
  EXPECT_THAT(ColumnsOf(bare.name), Not(HasSubstr("millpondprod_factory")));
  EXPECT_THAT(IndexesOf(bare.name), HasSubstr("INDEX runs_run ON daq.runs"));
  EXPECT_THAT(result.output, Not(HasSubstr("apd_pixel_m")));
  EXPECT_THAT(RunHistoryCommand({"schema", "--indexes"}).output,
              HasSubstr("CREATE INDEX IF NOT EXISTS apd_pixel_m_gain"));
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
