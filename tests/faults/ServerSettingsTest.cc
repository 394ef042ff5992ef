// What the server, the database or the role has set changes no fact of a run.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "tests/faults/CompareRuns.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

/// Everything that can be loaded of a run.
struct WholeRun {
  WholeRun(int number, const std::string& detector) : run(number, detector) {
    const CapturedOutput output;
    const CapturedMessages messages;
    dbi::gLocToFA.clear();
    run.SetUseGoodDiBlockMask(true);
    EXPECT_TRUE(run.LoadAllDetInfo());
    map = dbi::gLocToFA;
    EXPECT_TRUE(run.LoadPOT());
    quality = run.GetDQSubrunInfo();
    for (const auto& message : messages.All()) {
      complaints.push_back(message.text);
    }
  }

  RunHistory run;
  dbi::LocationMap map;
  std::vector<dbi::DQSubrunInfo> quality;
  std::vector<std::string> complaints;  ///< of the sample's own odd rows
};

void ExpectSame(const WholeRun& one, const WholeRun& expected) {
  EXPECT_EQ(FirstDifference(one.run, expected.run), "");
  EXPECT_EQ(FirstDifference(one.map, expected.map), "");
  EXPECT_EQ(one.run.GetTotalPOT(), expected.run.GetTotalPOT());
  EXPECT_EQ(one.complaints, expected.complaints);
  ASSERT_EQ(one.quality.size(), expected.quality.size());
  for (std::size_t i = 0; i < one.quality.size(); ++i) {
    EXPECT_EQ(one.quality[i].subrun, expected.quality[i].subrun);
    EXPECT_EQ(one.quality[i].miprate, expected.quality[i].miprate);
    EXPECT_EQ(one.quality[i].numslc, expected.quality[i].numslc);
    EXPECT_EQ(one.quality[i].trkfrac, expected.quality[i].trkfrac);
    EXPECT_EQ(one.quality[i].flag, expected.quality[i].flag);
    EXPECT_EQ(one.quality[i].ngooddb, expected.quality[i].ngooddb);
  }
}

/// Settings that are made together.
struct Settings {
  const char* name;
  std::vector<std::pair<std::string, std::string>> values;
};

void PrintTo(const Settings& settings, std::ostream* stream) { *stream << settings.name; }

class ServerSettings : public testing::TestWithParam<Settings> {
protected:
  /// For the reader alone and for all, in turn: both ways must be the same.
  void Set(const ScratchDatabases& databases, const std::string& detector) const {
    bool forReader = false;
    for (const auto& [name, value] : GetParam().values) {
      const std::string whose = forReader ? "ROLE brio_reader IN DATABASE " : "DATABASE ";
      databases.Execute("ALTER " + whose + databases.Name(detector) + " SET " + name + " TO '" + value + "'",
                        detector);
      forReader = !forReader;
    }
  }
};

TEST_P(ServerSettings, ChangeNoFact) {
  const ScratchDatabases databases("small", {"birch", "alder"});
  const EnvironmentVariable site("BRIO_DATABASE", databases.Template());
  // Numbers that no short form can tell.
  databases.Execute(
      "UPDATE beam.potbyrun SET npot = 231250123456789012; UPDATE public.apd_pixel_m SET pixel_m = pixel_m / "
      "3;"
      "UPDATE dataquality.dqsubruninfo SET miprate = miprate / 3");
  const WholeRun far(13002, "Birch");
  const WholeRun near(11000, "Alder");
  EXPECT_GT(far.run.NInstrumentedFEBs(), 0);
  EXPECT_GT(near.run.NInstrumentedFEBs(), 0);
  EXPECT_FALSE(far.map.empty());
  EXPECT_FALSE(far.quality.empty());
  Set(databases, "birch");
  Set(databases, "alder");
  ExpectSame(WholeRun(13002, "Birch"), far);
  ExpectSame(WholeRun(11000, "Alder"), near);
}

INSTANTIATE_TEST_SUITE_P(Faults, ServerSettings,
                         testing::Values(Settings{"Texts",
                                                  {{"extra_float_digits", "-15"},
                                                   {"bytea_output", "escape"},
                                                   {"IntervalStyle", "sql_standard"},
                                                   {"DateStyle", "German"},
                                                   {"TimeZone", "Asia/Kolkata"},
                                                   {"timezone_abbreviations", "India"},
                                                   {"client_encoding", "LATIN1"},
                                                   {"lc_numeric", "POSIX"},
                                                   {"lc_monetary", "POSIX"},
                                                   {"lc_time", "POSIX"},
                                                   {"xmlbinary", "hex"},
                                                   {"quote_all_identifiers", "on"}}},
                                         Settings{"OtherTexts",
                                                  {{"extra_float_digits", "0"},
                                                   {"DateStyle", "Postgres, DMY"},
                                                   {"TimeZone", "America/St_Johns"},
                                                   {"timezone_abbreviations", "Australia"},
                                                   {"client_encoding", "SQL_ASCII"},
                                                   {"IntervalStyle", "iso_8601"}}},
                                         Settings{"Meaning",
                                                  {{"standard_conforming_strings", "off"},
                                                   {"backslash_quote", "off"},
                                                   {"escape_string_warning", "off"},
                                                   {"array_nulls", "off"},
                                                   {"transform_null_equals", "on"},
                                                   {"search_path", ""},
                                                   {"xmloption", "document"},
                                                   {"row_security", "off"},
                                                   {"check_function_bodies", "off"},
                                                   {"exit_on_error", "on"}}},
                                         Settings{"Transactions",
                                                  {{"default_transaction_isolation", "serializable"},
                                                   {"default_transaction_read_only", "on"},
                                                   {"default_transaction_deferrable", "on"},
                                                   {"statement_timeout", "20min"},
                                                   {"lock_timeout", "20min"},
                                                   {"idle_in_transaction_session_timeout", "20min"},
                                                   {"plan_cache_mode", "force_generic_plan"},
                                                   {"client_min_messages", "debug5"},
                                                   {"search_path", "$user"}}},
                                         Settings{"NoHashes",
                                                  {{"enable_hashjoin", "off"},
                                                   {"enable_hashagg", "off"},
                                                   {"enable_indexscan", "off"},
                                                   {"enable_indexonlyscan", "off"},
                                                   {"enable_bitmapscan", "off"},
                                                   {"enable_material", "off"},
                                                   {"max_parallel_workers_per_gather", "0"},
                                                   {"work_mem", "64kB"},
                                                   {"synchronize_seqscans", "off"}}},
                                         Settings{"NoMerges",
                                                  {{"enable_mergejoin", "off"},
                                                   {"enable_seqscan", "off"},
                                                   {"enable_sort", "off"},
                                                   {"from_collapse_limit", "1"},
                                                   {"join_collapse_limit", "1"},
                                                   {"geqo_threshold", "2"},
                                                   {"constraint_exclusion", "on"},
                                                   {"random_page_cost", "1"},
                                                   {"parallel_setup_cost", "0"},
                                                   {"parallel_tuple_cost", "0"},
                                                   {"min_parallel_table_scan_size", "0"}}}));

TEST(ReadersSchema, DoesNotReplaceTheNearDetectorsHardware) {
  const ScratchDatabases databases("small", {"alder"});
  const EnvironmentVariable site("BRIO_DATABASE", databases.Template());
  const WholeRun before(11000, "Alder");
  ASSERT_GT(before.run.NInstrumentedFEBs(), 0);
  databases.Execute(
      "CREATE SCHEMA brio_reader; GRANT USAGE ON SCHEMA brio_reader TO brio_reader;"
      "CREATE TABLE brio_reader.hardware_position AS SELECT * FROM public.hardware_position LIMIT 1;"
      "GRANT SELECT ON brio_reader.hardware_position TO brio_reader",
      "alder");
  ExpectSame(WholeRun(11000, "Alder"), before);
}

}  // namespace
}  // namespace brio::test
