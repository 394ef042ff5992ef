#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

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
