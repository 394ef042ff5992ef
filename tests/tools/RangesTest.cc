// Ranges of runs: what is asked for them, and what becomes of runs that cannot be answered for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// How many connections a database has had so far; only once all of them are closed.
int ConnectionsOf(const std::string& database) {
  EXPECT_EQ(server::LastingConnections(database), 0);
  return std::stoi(
      server::Value("postgres", "SELECT sessions FROM pg_stat_database WHERE datname = '" + database + "'"));
}

TEST(Range, HasOneConnection) {
  const ScratchDatabases databases("small", {"birch"});
  for (const auto* verb : {"pot", "mask", "dq", "show"}) {
    SCOPED_TRACE(verb);
    const int before = ConnectionsOf(databases.Name());
    const auto result =
        RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {verb, "--run", "13000-13040"}));
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(ConnectionsOf(databases.Name()) - before, 1);
  }
}

TEST(Range, IsThatOfTheRunsThatAreThere) {
  const auto result = OnSmall("Birch", {"mask", "--run", "10000-999999"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("Run 13000 of Birch: good diblocks\n"));
  EXPECT_THAT(result.output, HasSubstr("Run 13040 of Birch: good diblocks\n"));
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13008 of Birch: No mask found in DB!\n"));
  EXPECT_THAT(result.error,
              EndsWith("runhistory: the runs table of Birch does not have 10000-12999, 13041-999999\n"));
}

TEST(Range, NamesTheFirstOfManyMissingRuns) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("DELETE FROM daq.runs WHERE run % 2 = 1");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"pot", "--run", "13010-13041"}));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error,
            "runhistory: the runs table of Birch does not have 13011, 13013, 13015, 13017, 13019, 13021, "
            "13023, 13025 and more, in 16 gaps\n");
}

TEST(Range, ThatBeginsBelowTheRunsHasNoSimulatedOnes) {
  const auto result = OnSmall("Birch", {"pot", "--run", "9000-13000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "13000  2.3e+17\n");
  EXPECT_EQ(result.error, "runhistory: the runs table of Birch does not have 10000-12999\n");
  const auto simulated = JsonOnSmall("Alder", {"show", "--run", "5-6"});
  ASSERT_EQ(simulated.size(), 2U);
  EXPECT_EQ(simulated[1]["type"], "simulated");
}

TEST(Range, KeepsInJsonTheRunsThatFailedWithTheReason) {
  const auto pot = JsonOnSmall("Birch", {"pot", "--run", "13007-13009"});
  ASSERT_EQ(pot.size(), 3U);
  EXPECT_FALSE(pot[0].contains("reason"));
  EXPECT_EQ(pot[1],
            (nlohmann::json{{"detector", "Birch"}, {"run", 13008}, {"reason", "no POT is recorded"}}));
  EXPECT_EQ(pot[2]["reason"], "no POT is recorded");
  const auto mask = JsonOnSmall("Birch", {"mask", "--run", "13007-13008"});
  EXPECT_EQ(mask[1]["reason"], "No mask found in DB!");
  const auto quality = JsonOnSmall("Birch", {"dq", "--run", "13007-13008"});
  EXPECT_EQ(quality[1]["reason"], "it has no data-quality records");
  const auto show = JsonOnSmall("Birch", {"show", "--run", "13006-13007"});
  EXPECT_EQ(show[0]["run"], 13006);
  EXPECT_EQ(show[0]["reason"], "LoadDAQRunHistory: no resources found for run 13006");
}

TEST(Range, OfADeadServerIsToldOnce) {
  const auto result = RunHistoryCommand(
      {"pot", "--detector", "Birch", "--run", "13000-13040", "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error,
              HasSubstr("runhistory: the runs of Birch cannot be listed: connection to server on socket "
                        "\"/nonexistent/"));
  EXPECT_THAT(result.error, Not(HasSubstr("run 13000")));
}

TEST(POTVerb, GivesWhatIsStoredOfARunThatCannotBeLoaded) {
  const auto range = OnSmall("Birch", {"pot", "--run", "13005-13007"});
  EXPECT_EQ(range.output, "13005  2.3625e+17\n13006  2.375e+17\n13007  2.3875e+17\n");
  EXPECT_THAT(range.error, IsEmpty());
  const auto single = OnSmall("Birch", {"pot", "--run", "13006"});
  EXPECT_EQ(single.status, 0);
  EXPECT_EQ(single.output, "13006  2.375e+17\n");
}

TEST(POTVerb, TakesNullForNoneAndNotForZero) {
  const auto result = OnSmall("Birch", {"pot", "--run", "13009"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_EQ(result.error, "runhistory: run 13009 of Birch: no POT is recorded\n");
  EXPECT_THAT(OnSmall("Birch", {"show", "--run", "13009"}).output,
              HasSubstr("\n  POT             not known: no POT is recorded\n"));
  EXPECT_THAT(OnSmall("Birch", {"diff", "13009", "13010"}).output,
              HasSubstr("\n  POT             not known: no POT is recorded -> 2.425e+17\n"));
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("UPDATE beam.potbyrun SET npot = 0 WHERE run = 13009");
  const auto zero = RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"pot", "--run", "13009"}));
  EXPECT_EQ(zero.output, "13009  0\n");
}

TEST(POTVerb, SaysThatItsTableCannotBeRead) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("REVOKE SELECT ON beam.potbyrun FROM PUBLIC, brio_reader");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"pot", "--run", "13000"}));
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: database \"" + databases.Name() +
                                      "\": ERROR: permission denied for table potbyrun"));
}

TEST(Retries, TryARefusedConnectionAgain) {
  const auto triesOf = [](const std::string& retries) {
    const auto result = RunHistoryCommand({"mask", "--detector", "Birch", "--run", "13000", "--retries",
                                           retries, "--verbose", "--database", "host=/nonexistent"});
    EXPECT_EQ(result.status, 1);
    int tries = 0;
    for (auto at = result.error.find("trying again to connect"); at != std::string::npos;
         at = result.error.find("trying again to connect", at + 1)) {
      ++tries;
    }
    return tries;
  };
  EXPECT_EQ(triesOf("0"), 0);
  EXPECT_EQ(triesOf("2"), 2);
}

TEST(Masks, AreRefusedWhereTheyWouldChangeNothing) {
  for (const auto* verb : {"pot", "dq"}) {
    for (const auto& option :
         {Arguments{"--analysis-mask"}, Arguments{"--use-mask"}, Arguments{"--custom-mask", "1"}}) {
      Arguments arguments{verb, "--run", "13000"};
      arguments.insert(arguments.end(), option.begin(), option.end());
      const auto result = OnSmall("Birch", arguments);
      EXPECT_EQ(result.status, 2) << verb << ' ' << option[0];
      EXPECT_THAT(result.output, IsEmpty());
      EXPECT_THAT(result.error, HasSubstr(option[0] + ": the "));
      EXPECT_THAT(result.error, HasSubstr("whatever the mask\n"));
    }
  }
}

}  // namespace
}  // namespace brio::test
