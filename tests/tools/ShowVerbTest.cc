#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

int InstalledBoards(dbi::RunHistory& history) {
  int installed = 0;
  for (const auto& diblock : history.GetDiBlocks()) {
    installed += diblock.nInstrumentedFEBs;
  }
  return installed;
}

TEST(ShowVerb, SaysWhatTheLibrarySays) {
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "13000"});
  LibraryRun library("Birch", 13000);
  auto& history = library.history;
  EXPECT_EQ(shown["detector"], "Birch");
  EXPECT_EQ(shown["run"], 13000);
  EXPECT_EQ(history.TStartAsString(), "2014-06-10 03:00:00");
  EXPECT_EQ(shown["start"], "2014-06-10T03:00:00Z");
  EXPECT_EQ(shown["stop"], "2014-06-10T11:50:00Z");
  EXPECT_EQ(shown["duration"], history.TStop() - history.TStart());
  EXPECT_EQ(shown["type"], history.GetRunType());
  EXPECT_EQ(shown["partition"], history.GetPartition());
  EXPECT_EQ(shown["configuration"], history.GetConfigId());
  EXPECT_EQ(shown["active_channels"], history.NActiveChannels());
  EXPECT_EQ(shown["subruns"], history.NSubruns());
  EXPECT_EQ(shown["dcms"], history.NLiveDCMs());
  EXPECT_EQ(shown["event_builders"], history.GetBNEVBs().size());
  EXPECT_EQ(shown["boards_installed"], InstalledBoards(history));
  EXPECT_EQ(shown["boards_enabled"], history.NEnabledFEBs());
  ASSERT_TRUE(history.LoadPOT());
  EXPECT_EQ(shown["pot"].get<float>(), history.GetTotalPOT());
  EXPECT_EQ(shown["data_quality"]["subruns"], history.GetDQSubrunInfo().size());
  EXPECT_EQ(shown["diblocks"].size(), history.GetDiBlocks().size());
  EXPECT_EQ(shown["good_diblock_mask"], 16383);
  EXPECT_FALSE(shown.contains("not_known"));
}

TEST(ShowVerb, FitsOneScreenAndNothingElseReachesStandardOutput) {
  const auto result = OnSmall("Birch", {"show", "--run", "13000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_LE(std::count(result.output.begin(), result.output.end(), '\n'), 24);
  EXPECT_THAT(result.output, testing::StartsWith("Run 13000 of Birch\n"
                                                 "  started         2014-06-10 03:00:00 UTC\n"
                                                 "  stopped         2014-06-10 11:50:00 UTC\n"
                                                 "  duration        8 h 50 min 0 s\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  diblocks        ##############  1-14\n"));
  EXPECT_THAT(result.output, Not(HasSubstr("Loading")));
  EXPECT_THAT(result.error, HasSubstr("RunHistory: Loading FEB and APD installation information\n"));
}

TEST(ShowVerb, SaysLineByLineWhatWasNotRecorded) {
  const auto result = OnSmall("Birch", {"show", "--run", "13008"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  good diblocks   not known: No mask found in DB!\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  POT             not known: no POT is recorded\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  data quality    not known: no records\n"));
  const auto withoutStop = JsonOnSmall("Birch", {"show", "--run", "13004"});
  EXPECT_EQ(withoutStop["stop"], nullptr);
  EXPECT_EQ(withoutStop["not_known"]["stop"], "not recorded");
  EXPECT_FALSE(withoutStop.contains("duration"));
}

TEST(ShowVerb, OfARunWithoutResourcesShowsTheRestWithStatusOne) {
  const auto result = OnSmall("Birch", {"show", "--run", "13006"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  run             not known: LoadDAQRunHistory: no resources found "
                                       "for run 13006\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  POT             2.375e+17\n"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13006 of Birch: LoadDAQRunHistory: no resources"));
}

TEST(ShowVerb, OfARunWithoutConfigurationShowsTheRestWithStatusOne) {
  const auto result = OnSmall("Birch", {"show", "--run", "13015"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  DCMs            168\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  enabled         not known: there is no configuration 9999"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13015 of Birch: there is no configuration 9999"));
}

TEST(ShowVerb, OfAMissingRunHasStatusOneAndNoAnswer) {
  for (const auto& arguments :
       {Arguments{"show", "--run", "14999"}, Arguments{"show", "--run", "14999", "--json"}}) {
    const auto result = OnSmall("Birch", arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
  }
}

TEST(ShowVerb, OfASimulatedRunShowsThePerfectDetector) {
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "5"});
  EXPECT_EQ(shown["type"], "simulated");
  EXPECT_EQ(shown["dcms"], 168);
  EXPECT_EQ(shown["boards_installed"], 10752);
  EXPECT_EQ(shown["boards_enabled"], nullptr);
  EXPECT_EQ(shown["not_known"]["pot"], "a simulated run has no POT");
}

TEST(ShowVerb, LeavesOutWhatTheMaskLeavesOut) {
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "13010", "--analysis-mask"});
  EXPECT_EQ(shown["diblocks"], (std::vector<int>{11, 12, 13, 14}));
  EXPECT_EQ(shown["dcms"], 48);
  EXPECT_EQ(shown["good_diblock_mask"], 15807);
  const auto custom = OnSmall("Birch", {"show", "--run", "13000", "--custom-mask", "0x2001"});
  EXPECT_THAT(custom.output, HasSubstr("\n  diblocks        #------------#  1, 14\n"));
}

TEST(ShowVerb, OfTheNearDetectorAndOfAnotherOneSaysWhatIsNotKnownThere) {
  const auto near = JsonOnSmall("Alder", {"show", "--run", "11000"});
  EXPECT_EQ(near["not_known"], (nlohmann::json{{"good_diblock_mask", "the near detector has no mask"}}));
  EXPECT_EQ(near["dcms"], 14);
  const auto other = JsonOnSmall("Cedar", {"show", "--run", "12000"});
  EXPECT_EQ(other["not_known"]["boards_installed"], "no hardware is recorded for this detector");
}

TEST(ShowVerb, OfADeadServerSaysWhyWithStatusOne) {
  const auto result =
      RunHistoryCommand({"show", "--detector", "Birch", "--run", "13000", "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  run             not known: connection to server on socket"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: connection to server on socket"));
}

TEST(ShowVerb, OfARunWhosePOTCannotBeReadHasStatusOne) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON beam.potbyrun FROM PUBLIC, brio_reader");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"show", "--run", "13000"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  POT             not known: database"));
  EXPECT_THAT(result.output, HasSubstr("permission denied"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: not everything could be read\n"));
}

TEST(RangeOfRuns, IsAnsweredRunByRunBothEndsIncluded) {
  const auto result = OnSmall("Birch", {"show", "--run", "13000-13002"});
  EXPECT_EQ(result.status, 0);
  const auto first = result.output.find("Run 13000 of Birch\n");
  const auto second = result.output.find("Run 13001 of Birch\n");
  const auto third = result.output.find("Run 13002 of Birch\n");
  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_NE(third, std::string::npos);
  EXPECT_THAT(result.output, Not(HasSubstr("Run 13003")));
}

TEST(RangeOfRuns, IsAnArrayInJson) {
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "13039-13042"});
  ASSERT_EQ(shown.size(), 2);
  EXPECT_EQ(shown[0]["run"], 13039);
  EXPECT_EQ(shown[1]["run"], 13040);
  const auto single = JsonOnSmall("Birch", {"pot", "--run", "13040-13040"});
  EXPECT_TRUE(single.is_array());
}

TEST(RangeOfRuns, ReportsMissingRunsAndGoesOn) {
  const auto result = OnSmall("Birch", {"pot", "--run", "13007-13010"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "13007  2.3875e+17\n13010  2.425e+17\n");
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13008 of Birch: no POT is recorded\n"));
  const auto none = OnSmall("Birch", {"pot", "--run", "14990-14992"});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.output, IsEmpty());
  EXPECT_THAT(none.error, HasSubstr("runhistory: the runs table of Birch does not have 14990-14992\n"));
}

TEST(RangeOfRuns, WithoutAnEndGoesToTheLastRunOfTheTable) {
  const auto result = OnSmall("Birch", {"pot", "--run", "13039-"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "13039  2.7875e+17\n13040  2.8e+17\n");
  const auto after = OnSmall("Birch", {"pot", "--run", "13041-"});
  EXPECT_EQ(after.status, 1);
  EXPECT_EQ(after.error, "runhistory: the last run of Birch is 13040\n");
  const auto dead =
      RunHistoryCommand({"pot", "--detector", "Birch", "--run", "13041-", "--database", "host=/nonexistent"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_THAT(dead.error, HasSubstr("runhistory: the runs of Birch cannot be listed: connection"));
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

}  // namespace
}  // namespace brio::test
