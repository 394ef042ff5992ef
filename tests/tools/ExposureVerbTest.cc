#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"
#include "tests/tools/Sessions.h"

namespace brio::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(ExposureVerb, AddsUpRunsAndNamesThoseLeftOut) {
  const auto result = OnSmall("Birch", {"exposure", "--run", "13002-13011"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.output,
            "  run         POT        live time  good diblocks\n"
            "13002   2.325e+17   8 h 50 min 0 s             14\n"
            "13003  2.3375e+17   8 h 50 min 0 s             14\n"
            "13006   2.375e+17   8 h 50 min 0 s             14\n"
            "13010   2.425e+17   8 h 50 min 0 s             12\n"
            "13011  2.4375e+17   8 h 50 min 0 s             14\n"
            "total    1.19e+18  44 h 10 min 0 s         13.592\n"
            "runs counted: 5 of 10\n"
            "  left out, its stop is not recorded: 13004\n"
            "  left out, its start is not recorded: 13005\n"
            "  left out, no diblock is good: 13007\n"
            "  left out, no POT is recorded; no good-diblock mask is recorded: 13008-13009\n");
}

TEST(ExposureVerb, NamesRunsThatTheTableDoesNotHave) {
  const auto result = OnSmall("Birch", {"exposure", "--run", "13039-13050"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\nruns counted: 2 of 2\n  not in the runs table: 13041-13050\n"));
  EXPECT_EQ(JsonOnSmall("Birch", {"exposure", "--run", "13039-13050"})["not_in_the_runs_table"],
            "13041-13050");
}

TEST(ExposureVerb, CountsDiBlocksByTheAnalysisRuleOrAMaskOfOnesOwn) {
  const auto diblocksOf = [](Arguments arguments) {
    arguments.insert(arguments.begin(), {"exposure", "--run", "13010"});
    return JsonOnSmall("Birch", arguments)["runs"][0]["good_diblocks"];
  };
  EXPECT_EQ(diblocksOf({}), 12);
  EXPECT_EQ(diblocksOf({"--analysis-mask"}), 4);
  EXPECT_EQ(diblocksOf({"--custom-mask", "0x3c"}), 4);
}

TEST(ExposureVerb, GivesNumbersAndReasonsInJsonAndCsv) {
  const auto all = JsonOnSmall("Birch", {"exposure", "--run", "13007-13010"});
  EXPECT_EQ(all["runs"][1],
            json::parse(
                R"({"run": 13008, "counted": false, "pot": null, "live_time_s": 31800, "good_diblocks": null,
                            "reason": "no POT is recorded; no good-diblock mask is recorded"})"));
  EXPECT_EQ(all["runs"][3],
            json::parse(R"({"run": 13010, "counted": true, "pot": 2.425e17, "live_time_s": 31800,
                            "good_diblocks": 12})"));
  EXPECT_EQ(all["total"], json::parse(R"({"runs": 1, "pot": 2.425e17, "live_time_s": 31800,
                                          "mean_good_diblocks": 12.0})"));
  EXPECT_EQ(OnSmall("Birch", {"exposure", "--run", "13007-13010", "--format", "csv"}).output,
            "run,counted,pot,live_time_s,good_diblocks,reason\n"
            "13007,no,2.3875e+17,31800,0,no diblock is good\n"
            "13008,no,,31800,,no POT is recorded; no good-diblock mask is recorded\n"
            "13009,no,,31800,,no POT is recorded; no good-diblock mask is recorded\n"
            "13010,yes,2.425e+17,31800,12,\n");
}

TEST(ExposureVerb, TakesTheNearDetectorWithoutMasksAndChosenRuns) {
  const auto near = JsonOnSmall("Alder", {"exposure"});
  EXPECT_EQ(near["total"]["runs"], 4);
  EXPECT_TRUE(near["total"]["mean_good_diblocks"].is_null());
  EXPECT_EQ(JsonOnSmall("Birch", {"exposure", "--type", "Calibration"})["runs"][0]["run"], 13033);
}

TEST(ExposureVerb, SaysThatThereIsNothingToCount) {
  const auto none = OnSmall("Birch", {"exposure", "--run", "13008"});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.output, HasSubstr("runs counted: 0 of 1\n"));
  EXPECT_EQ(none.error, "runhistory: there is no run of Birch to count\n");
  const auto dead =
      RunHistoryCommand({"exposure", "-d", "Birch", "-r", "13000-", "--database", "host=/nonexistent"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_EQ(dead.output, "");
  EXPECT_THAT(dead.error, HasSubstr("runhistory: the exposure of Birch is not known: connection to server"));
}

TEST(ExposureVerb, SaysWhatCannotBeRead) {
  const ScratchDatabases databases("small");
  databases.Execute("REVOKE ALL ON dataquality.gooddiblocksvsrun FROM PUBLIC, brio_reader");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"exposure", "--run", "13000"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  left out, "));
  EXPECT_THAT(result.output, HasSubstr("permission denied for table gooddiblocksvsrun"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: the exposure of Birch is not complete: "));
}

TEST(ExposureVerb, OpensOneConnection) {
  const ScratchDatabases databases("small");
  const auto before = SessionsOf(databases.Name());
  EXPECT_EQ(RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"exposure"})).status, 0);
  EXPECT_EQ(SessionsOf(databases.Name(), before), 1);
}

}  // namespace
}  // namespace brio::test
