#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using testing::ElementsAre;
using testing::IsEmpty;

/// What a load sets for its transaction, whatever the server's defaults are.
class TransactionSettings : public test::OwnDatabase {
protected:
  void SetForReader(const std::string& name, const std::string& value) {
    scratch_.Execute("ALTER ROLE brio_reader IN DATABASE " + scratch_.Name() + " SET " + name + " TO '" +
                     value + "'");
  }
};

struct Setting {
  const char* name;
  const char* ofReader;
  const char* inLoad;
};

TEST_F(TransactionSettings, AreTheSameForEveryReader) {
  const std::vector<Setting> settings{{"extra_float_digits", "-15", "3"},
                                      {"bytea_output", "escape", "hex"},
                                      {"IntervalStyle", "sql_standard", "postgres"},
                                      {"DateStyle", "German, YMD", "ISO, MDY"},
                                      {"TimeZone", "Asia/Tokyo", "UTC"},
                                      {"timezone_abbreviations", "Australia", "Default"},
                                      {"client_encoding", "LATIN1", "UTF8"},
                                      {"standard_conforming_strings", "off", "on"},
                                      {"transform_null_equals", "on", "off"},
                                      {"search_path", "elsewhere", "pg_catalog, public, pg_temp"}};
  for (const auto& setting : settings) {
    SetForReader(setting.name, setting.ofReader);
  }
  for (const auto& setting : settings) {
    EXPECT_EQ(Ask(*BareTable(), std::string("SHOW ") + setting.name), setting.ofReader);
  }
  const LoadScope scope;
  for (const auto& setting : settings) {
    EXPECT_EQ(Ask(*BareTable(), std::string("SHOW ") + setting.name), setting.inLoad);
  }
}

TEST_F(TransactionSettings, HoldForATableThatIsLoadedOutsideALoadAndEndWithIt) {
  SetForReader("extra_float_digits", "-15");
  scratch_.Execute(
      "DROP TABLE facts; CREATE TABLE facts (id double precision, note timestamp);"
      "INSERT INTO facts VALUES (231250000000000000, '2013-12-08 05:08:50');"
      "GRANT SELECT ON facts TO brio_reader");
  const auto table = Facts();
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("2013-12-08 05:08:50"));
  EXPECT_STREQ(table->GetRow(0)->Col(0).Text(), "2.3125e+17");
  // The connection is as it was: nothing is left of them on it.
  EXPECT_EQ(Ask(*table, "SELECT note FROM facts"), "08/12/2013 05:08:50");
  EXPECT_EQ(Ask(*table, "SHOW transaction_isolation"), "read committed");
}

TEST_F(TransactionSettings, HoldForATableOfAnEarlierConnectionInALoad) {
  const auto table = Facts();
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  scratch_.Execute("ALTER TABLE facts ALTER note TYPE timestamp USING '2013-12-08 05:08:50'");
  const LoadScope scope;
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("2013-12-08 05:08:50", "2013-12-08 05:08:50"));
  EXPECT_EQ(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(TransactionSettings, LeaveAClientsOwnTransactionAlone) {
  const auto table = Facts();
  Ask(*table, "BEGIN ISOLATION LEVEL SERIALIZABLE");
  ASSERT_TRUE(table->Load());
  EXPECT_EQ(Ask(*table, "SHOW transaction_isolation"), "serializable");
  Ask(*table, "COMMIT");
}

TEST_F(TransactionSettings, NothingIsWrittenByATableThatIsLoadedOutsideALoad) {
  scratch_.Execute(
      "CREATE TABLE seen (id integer); ALTER TABLE facts RENAME TO kept;"
      "CREATE FUNCTION note_it(id integer) RETURNS integer LANGUAGE sql SECURITY DEFINER AS "
      "'INSERT INTO public.seen VALUES (id) RETURNING id';"
      "CREATE VIEW facts AS SELECT note_it(id) AS id, note FROM kept; GRANT SELECT ON facts TO brio_reader");
  const CapturedMessages messages;
  const auto table = Facts();
  EXPECT_FALSE(table->Load());
  EXPECT_EQ(messages.All().size(), 1U);
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM seen"), "0");
  // A client's own statement is its own business.
  EXPECT_EQ(Ask(*table, "SELECT id FROM facts"), "1");
  EXPECT_EQ(test::server::Value(scratch_.Name(), "SELECT count(*) FROM seen"), "2");
}

TEST_F(TransactionSettings, OnlyLowerTheReadersStatementTimeout) {
  const auto inLoad = [] {
    const LoadScope scope;
    return Ask(*BareTable(), "SHOW statement_timeout");
  };
  const std::vector<std::pair<std::string, std::string>> cases{{"0", "5min"},    {"1500ms", "1500ms"},
                                                               {"4min", "4min"}, {"5min", "5min"},
                                                               {"2h", "5min"},   {"3d", "5min"}};
  for (const auto& [ofReader, expected] : cases) {
    SetForReader("statement_timeout", ofReader);
    EXPECT_EQ(inLoad(), expected) << ofReader;
  }
  const EnvironmentVariable none("BRIO_QUERY_TIMEOUT", "0");
  EXPECT_EQ(inLoad(), "3d");
}

/// Databases of another encoding than UTF-8.
class DatabaseEncoding : public testing::TestWithParam<const char*> {
protected:
  DatabaseEncoding() {
    test::server::Query("postgres", "CREATE DATABASE " + name_ + " TEMPLATE template0 LOCALE 'C' ENCODING '" +
                                        std::string(GetParam()) + "'");
    test::server::Query(name_, std::string("SET client_encoding TO '") + GetParam() +
                                   "'; CREATE TABLE facts (note text); INSERT INTO facts VALUES ('M\xfcon')");
    test::server::Query(name_, "GRANT SELECT ON facts TO brio_reader");
  }
  ~DatabaseEncoding() override {
    test::server::Query("postgres", "DROP DATABASE " + name_ + " WITH (FORCE)");
  }

  /// The text as a load has it.
  std::string Note() const {
    const EnvironmentVariable database("BRIO_DATABASE", test::server::ConnectionString(name_));
    const test::TemporaryFolder folder;
    Table table(
        folder.Write("facts.xml", "<table name='facts'><column name='note' type='text'/></table>").c_str());
    table.SetDetector("Birch");
    EXPECT_TRUE(table.Load());
    return table.NRow() == 1 ? table.GetRow(0)->Col(0).Text() : "";
  }

private:
  std::string name_ = "encoded_" + std::to_string(getpid());
};

using ConvertedEncoding = DatabaseEncoding;
using NoEncoding = DatabaseEncoding;

TEST_P(ConvertedEncoding, ComesAsUTF8) { EXPECT_EQ(Note(), "M\xc3\xbcon"); }
TEST_P(NoEncoding, ComesAsItIs) { EXPECT_EQ(Note(), "M\xfcon"); }

INSTANTIATE_TEST_SUITE_P(Database, ConvertedEncoding, testing::Values("LATIN1", "WIN1252"));
INSTANTIATE_TEST_SUITE_P(Database, NoEncoding, testing::Values("SQL_ASCII"));

/// Where names without a schema are found.
class SchemaPath : public test::OwnDatabase {
protected:
  /// A schema with a table of facts of its own.
  void Forge(const std::string& schema) {
    scratch_.Execute("CREATE SCHEMA " + schema + "; CREATE TABLE " + schema +
                     ".facts AS SELECT 1 AS id, 'forged'::text AS note; GRANT USAGE ON SCHEMA " + schema +
                     " TO brio_reader; GRANT SELECT ON " + schema + ".facts TO brio_reader");
  }
  std::vector<std::string> Found() const {
    const auto table = Facts();
    EXPECT_TRUE(table->Load());
    return Notes(*table);
  }
};

TEST_F(SchemaPath, IsPublicWhateverTheReadersIs) {
  Forge("brio_reader");  // "$user" of the default path
  EXPECT_THAT(Found(), ElementsAre("one", "two"));
  scratch_.Execute("ALTER DATABASE " + scratch_.Name() + " SET search_path TO ''");
  EXPECT_THAT(Found(), ElementsAre("one", "two"));
}

TEST_F(SchemaPath, HasTemporaryTablesLast) {
  const auto table = Facts();
  scratch_.Execute("GRANT TEMPORARY ON DATABASE " + scratch_.Name() + " TO brio_reader");
  Ask(*table, "CREATE TEMPORARY TABLE facts AS SELECT 1 AS id, 'forged'::text AS note");
  EXPECT_EQ(Ask(*table, "SELECT note FROM facts"), "forged");
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("one", "two"));
}

TEST_F(SchemaPath, IsTheOneThatIsSet) {
  const CapturedMessages messages;
  Forge("\"odd \"\"name;\"");
  const EnvironmentVariable path("BRIO_SCHEMA_PATH", "missing,\todd \"name; ,public");
  EXPECT_THAT(Found(), ElementsAre("forged"));
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(SchemaPath, ThatTheServerWouldExpandIsRefused) {
  Forge("brio_reader");
  for (const char* setting :
       {"$user", "$user,public", "public, $user", "pg_temp", "pg_temp_3,public", ",", "brio_reader,", " "}) {
    const EnvironmentVariable path("BRIO_SCHEMA_PATH", setting);
    const CapturedMessages messages;
    EXPECT_THAT(Found(), ElementsAre("one", "two")) << setting;
    EXPECT_THAT(messages.Texts(Severity::Warning, "BrioDatabase"),
                ElementsAre("BRIO_SCHEMA_PATH is \"" + std::string(setting) +
                            "\", not a list of schemas without \"$user\" and pg_temp; using public"));
  }
}

}  // namespace
}  // namespace brio::dbi
