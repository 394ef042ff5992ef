// What the command does on a terminal only: colours, and a line of progress.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kColour = "\033[48;5;";

Arguments Map(const Arguments& more = {}) {
  auto arguments = OnDatabases(server::Template("small"), "Birch", {"map", "installed", "--run", "13000"});
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(Colour, IsUsedOnATerminalThatTakesIt) {
  EXPECT_THAT(RunHistoryCommandOnTerminal(Map()).output, HasSubstr(kColour));
  EXPECT_THAT(RunHistoryCommandOnTerminal(Map({"--color", "auto"})).output, HasSubstr(kColour));
  EXPECT_THAT(RunHistoryCommand(Map({"--color=auto"})).output, Not(HasSubstr(kColour)));
  const EnvironmentVariable dumb("TERM", "dumb");
  EXPECT_THAT(RunHistoryCommandOnTerminal(Map()).output, Not(HasSubstr(kColour)));
}

TEST(Colour, IsAlwaysOrNeverUsedWhereToldSo) {
  EXPECT_THAT(RunHistoryCommand(Map({"--color=always"})).output, HasSubstr(kColour));
  EXPECT_THAT(RunHistoryCommandOnTerminal(Map({"--color=never"})).output, Not(HasSubstr(kColour)));
  const EnvironmentVariable noColor("NO_COLOR", "1");
  const EnvironmentVariable dumb("TERM", "dumb");
  EXPECT_THAT(RunHistoryCommand(Map({"--color=always"})).output, HasSubstr(kColour));
}

TEST(Colour, OfNoKnownKindIsWrongUsage) {
  EXPECT_EQ(RunHistoryCommand(Map({"--color=sometimes"})).status, 2);
  EXPECT_EQ(RunHistoryCommand(Map({"--color=always", "--no-color"})).status, 2);
}

/// Five runs, for each of which the runs table takes most of a second.
class SlowRange : public testing::Test {
protected:
  SlowRange() {
    databases_.Execute(
        "CREATE FUNCTION public.slow() RETURNS boolean LANGUAGE sql AS 'SELECT pg_sleep(0.7) IS NOT NULL';"
        "ALTER TABLE dataquality.dqsubruninfo RENAME TO real_records;"
        "CREATE VIEW dataquality.dqsubruninfo AS SELECT r.* FROM (SELECT public.slow() AS waited OFFSET 0) "
        "s, "
        "dataquality.real_records r WHERE s.waited;"
        "GRANT SELECT ON dataquality.dqsubruninfo TO brio_reader");
  }
  Arguments Records() const {
    return OnDatabases(databases_.Template(), "Birch", {"dq", "--run", "13000-13004"});
  }

private:
  ScratchDatabases databases_{"small", {"birch"}};
};

TEST_F(SlowRange, ShowsOnATerminalHowFarItIsAndHowLongItStillTakes) {
  const auto shown = RunHistoryCommandOnTerminal(Records());
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.output,
              ContainsRegex("\r\033\\[Krunhistory: loading run 1300[0-4] of Birch, [2-5] of 5 … "
                            "[0-9]+ s, about [0-9]+ s left"));
  // No answer begins behind it.
  EXPECT_THAT(shown.output, Not(ContainsRegex("left *Run")));
  EXPECT_THAT(shown.output, ContainsRegex("\r\033\\[KRun 1300[1-4] of Birch"));
}

TEST_F(SlowRange, ShowsNoProgressElsewhere) {
  EXPECT_THAT(RunHistoryCommand(Records()).error, Not(HasSubstr("loading run")));
  const EnvironmentVariable dumb("TERM", "dumb");
  const auto shown = RunHistoryCommandOnTerminal(Records());
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.output, Not(HasSubstr("loading run")));
  EXPECT_THAT(shown.output, Not(HasSubstr("\033")));
}

}  // namespace
}  // namespace brio::test
