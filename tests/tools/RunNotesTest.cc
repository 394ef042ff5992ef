// What show adds from the run tables: events, shifter, comments, subruns' times.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::Not;

CommandResult Shown(const ScratchDatabases& databases, Arguments arguments = {}) {
  arguments.insert(arguments.begin(), {"show", "--run", "13000"});
  return RunHistoryCommand(OnDatabases(databases.Template(), "Birch", arguments));
}

TEST(RunNotes, AreEventsShifterCommentsAndSubrunTimes) {
  const auto result = OnSmall("Birch", {"show", "--run", "13000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  events          1481000\n"
                                       "  shifter         shifter 4\n"
                                       "  begin comment   start of run 13000\n"
                                       "  end comment     end of run 13000\n"
                                       "  subrun times    of 20 subruns, 25 min 30 s each\n"));
  const auto shown = JsonOnSmall("Birch", {"show", "--run", "13000"});
  EXPECT_EQ(shown["events"], 1481000);
  EXPECT_EQ(shown["shifter"], "shifter 4");
  EXPECT_EQ(shown["begin_comment"], "start of run 13000");
  EXPECT_EQ(shown["end_comment"], "end of run 13000");
  ASSERT_EQ(shown["subrun_times"].size(), 20);
  EXPECT_EQ(shown["subrun_times"][1], (nlohmann::json{{"subrun", 1},
                                                      {"start", "2014-06-10T03:26:00Z"},
                                                      {"stop", "2014-06-10T03:51:30Z"},
                                                      {"duration", 1530}}));
}

TEST(RunNotes, HaveATableOfTheSubrunsWhereAsked) {
  const auto result = OnSmall("Birch", {"show", "--run", "13000", "--subruns"});
  EXPECT_THAT(result.output, HasSubstr("subrun          start (UTC)           stop (UTC)     duration\n"
                                       "     0  2014-06-10 03:00:00  2014-06-10 03:25:30  25 min 30 s\n"
                                       "     1  2014-06-10 03:26:00  2014-06-10 03:51:30  25 min 30 s\n"));
  EXPECT_THAT(OnSmall("Birch", {"show", "--run", "13000"}).output, Not(HasSubstr("start (UTC)")));
}

TEST(RunNotes, AreNotRecordedWhereTheyAreNULL) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "UPDATE daq.runs SET nevents = NULL, shifter = NULL, end_comment = NULL WHERE run = 13000;"
      "DELETE FROM daq.subruns WHERE run = 13000");
  const auto result = Shown(databases);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  events          not recorded\n"
                                       "  shifter         not recorded\n"
                                       "  begin comment   start of run 13000\n"
                                       "  end comment     not recorded\n"
                                       "  subrun times    not recorded\n"));
}

TEST(RunNotes, TellHowLongTheSubrunsAreWhoseTimesAreKnown) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "UPDATE daq.subruns SET tstop = NULL WHERE run = 13000 AND subrun = 19;"
      "UPDATE daq.subruns SET tstop = tstart - interval '1 h' WHERE run = 13000 AND subrun = 18;"
      "UPDATE daq.subruns SET tstop = tstart + interval '10 s' WHERE run = 13000 AND subrun = 3");
  const auto result = Shown(databases, {"--subruns"});
  EXPECT_THAT(result.output,
              HasSubstr("\n  subrun times    of 20 subruns, 18 of them 10 s to 25 min 30 s\n"));
  EXPECT_THAT(result.output, HasSubstr("\n    18  2014-06-10 10:48:00  2014-06-10 09:48:00            -\n"
                                       "    19  2014-06-10 11:14:00                    -            -\n"));
}

TEST(RunNotes, CannotForgeALineOrReachTheTerminal) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "UPDATE daq.runs SET shifter = E'A\\n  POT             9e99', "
      "begin_comment = E'\\033[2Jred\\u202e \\u0080é' WHERE run = 13000");
  const auto result = Shown(databases);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, Not(HasSubstr("\n  POT             9e99")));
  EXPECT_THAT(result.output, Not(HasSubstr("\033")));
  EXPECT_THAT(result.output, HasSubstr("\n  shifter         A\\n  POT             9e99\n"
                                       "  begin comment   \\x1b[2Jred\\xe2\\x80\\xae \\xc2\\x80é\n"));
}

TEST(RunNotes, ThatCannotBeReadAreToldOfWithStatusOneBesideTheRest) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON daq.subruns FROM PUBLIC, brio_reader");
  const auto result = Shown(databases);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  events          1481000\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  subrun times    not known: database"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: not everything could be read\n"));
}

TEST(RunNotes, AreNotThoseOfASimulatedRun) {
  EXPECT_THAT(OnSmall("Birch", {"show", "--run", "5"}).output, Not(HasSubstr("shifter")));
}

}  // namespace
}  // namespace brio::test
