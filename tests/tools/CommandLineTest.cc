#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Command.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(CommandLine, HelpNamesTheVerbsAndTheExitStatuses) {
  const auto result = RunHistoryCommand({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("dump"));
  EXPECT_THAT(result.output, HasSubstr("Exit status: 0 answered"));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST(CommandLine, VersionIsTheProjects) {
  const auto result = RunHistoryCommand({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "runhistory " BRIO_VERSION "\n");
}

TEST(CommandLine, AVerbsHelpShowsTheSharedOptions) {
  const auto result = RunHistoryCommand({"dump", "--help"});
  EXPECT_EQ(result.status, 0);
  for (const auto* option : {"-d,--detector", "-r,--run", "--json", "-v,--verbose", "--no-color",
                             "--use-mask", "--custom-mask", "--analysis-mask", "--retries", "--database"}) {
    EXPECT_THAT(result.output, HasSubstr(option));
  }
}

class WrongUsage : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(WrongUsage, IsToldOnStandardErrorWithStatusTwo) {
  const auto result = RunHistoryCommand(GetParam());
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, testing::Not(IsEmpty()));
}

using Arguments = std::vector<std::string>;
INSTANTIATE_TEST_SUITE_P(
    CommandLine, WrongUsage,
    testing::Values(Arguments{}, Arguments{"fetch"}, Arguments{"--nonsense"}, Arguments{"dump"},
                    Arguments{"dump", "--detector", "Birch"}, Arguments{"dump", "--run", "13000"},
                    Arguments{"dump", "--detector", "Birch", "--run", "thirteen"},
                    Arguments{"dump", "--detector", "Birch", "--run", "99999999999"},
                    Arguments{"dump", "--detector", "Birch", "--run", "13000.5"},
                    Arguments{"dump", "--detector", "Birch", "--run", "13000", "left over"},
                    Arguments{"dump", "--detector", "Unknown", "--run", "13000"},
                    Arguments{"dump", "--detector", "", "--run", "13000"},
                    Arguments{"dump", "--detector", "Birch", "--run", "13000", "--retries", "-1"},
                    Arguments{"dump", "--detector", "Birch", "--run", "13000", "--custom-mask", "##--"},
                    Arguments{"dump", "--detector", "Birch", "--run", "13000-13001"},
                    Arguments{"show", "--detector", "Birch"},
                    Arguments{"show", "--detector", "Birch", "--run", "13001-13000"},
                    Arguments{"show", "--detector", "Birch", "--run", "13000--13001"},
                    Arguments{"show", "--detector", "Birch", "--run", "13000-x"},
                    Arguments{"show", "--detector", "Birch", "--run", "-"},
                    Arguments{"show", "--detector", "Birch", "--run", ""}, Arguments{"pot", "--run", "13000"},
                    Arguments{"dq", "--detector", "Birch"},
                    Arguments{"mask", "--detector", "Birch", "--run", "13000", "extra"},
                    Arguments{"channel", "66,17", "--detector", "Birch", "--run", "13000-"},
                    Arguments{"map", "--detector", "Birch", "--run", "13000"},
                    Arguments{"map", "colour", "--detector", "Birch", "--run", "13000"},
                    Arguments{"map", "gain", "--detector", "Birch", "--run", "13000", "--format", "gif"},
                    Arguments{"map", "gain", "--detector", "Birch", "--run", "13000-13001"},
                    Arguments{"diff", "13000", "--detector", "Birch"}, Arguments{"diff", "13000", "13001"},
                    Arguments{"diff", "13000", "x", "--detector", "Birch"}, Arguments{"check"},
                    Arguments{"check", "--detector", "Birch", "--run", "13000-"},
                    Arguments{"schema", "tables"}, Arguments{"help", "fetch"},
                    Arguments{"show", "13000", "--detector", "Birch", "--run", "13001"},
                    Arguments{"show", "13000", "13001", "--detector", "Birch"},
                    Arguments{"map", "gain", "13000-13001", "--detector", "Birch"},
                    Arguments{"mask", "--detector", "Birch", "--run", "5", "--custom-mask", "0x4000"},
                    Arguments{"mask", "--detector", "Birch", "--run", "5", "--custom-mask=-1"}));

TEST(CommandLine, NamesAVerbThatThereIsNotAndTheNearestOne) {
  const std::string tellHelp = "Run with --help for more information.\n";
  EXPECT_EQ(RunHistoryCommand({"shwo", "-d", "Birch"}).error,
            "runhistory: there is no verb \"shwo\"; the nearest is \"show\"\n" + tellHelp);
  EXPECT_EQ(RunHistoryCommand({"-d", "Birch", "-r", "13000", "chanel"}).error,
            "runhistory: there is no verb \"chanel\"; the nearest is \"channel\"\n" + tellHelp);
  EXPECT_THAT(RunHistoryCommand({"fetch"}).error,
              StartsWith("runhistory: there is no verb \"fetch\"; the verbs are list, show, channel, map, "));
  EXPECT_THAT(RunHistoryCommand({"-d", "Birch"}).error,
              StartsWith("runhistory: a verb is missing; the verbs are list, show, "));
}

TEST(CommandLine, TakesOptionsBeforeTheVerb) {
  const Arguments usual{"mask", "--detector", "Birch", "--run", "5", "--custom-mask", "0x3c", "--json"};
  const auto wanted = RunHistoryCommand(usual);
  ASSERT_EQ(wanted.status, 0);
  for (const auto& arguments :
       {Arguments{"--detector", "Birch", "--run", "5", "--custom-mask", "0x3c", "--json", "mask"},
        Arguments{"--json", "-d", "Birch", "mask", "--custom-mask=0x3c", "-r", "5"},
        Arguments{"--custom-mask=0x3c", "-dBirch", "mask", "5", "--json"}}) {
    const auto result = RunHistoryCommand(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, wanted.output);
  }
  EXPECT_EQ(RunHistoryCommand({"--version", "show"}).output, "runhistory " BRIO_VERSION "\n");
}

TEST(CommandLine, TakesHelpAndVersionAsVerbs) {
  EXPECT_EQ(RunHistoryCommand({"help"}).output, RunHistoryCommand({"--help"}).output);
  const auto help = RunHistoryCommand({"help", "pot"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.output, RunHistoryCommand({"pot", "--help"}).output);
  EXPECT_THAT(help.output, HasSubstr("runhistory pot "));
  EXPECT_EQ(RunHistoryCommand({"version"}).output, "runhistory " BRIO_VERSION "\n");
}

TEST(CommandLine, TakesDetectorsInCapitalsOrNotAndTheRunAsAnArgument) {
  const auto wanted = RunHistoryCommand({"map", "installed", "--detector", "Birch", "--run", "5"});
  ASSERT_EQ(wanted.status, 0);
  for (const auto& arguments : {Arguments{"map", "installed", "5", "-d", "birch"},
                                Arguments{"-d", "BIRCH", "map", "installed", "5"}}) {
    const auto result = RunHistoryCommand(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, wanted.output);
  }
  const auto range = RunHistoryCommand({"show", "5-6", "-d", "alder", "--json"});
  EXPECT_THAT(range.output, StartsWith("[\n  {\n    \"detector\": \"Alder\",\n    \"run\": 5,"));
}

TEST(CommandLine, RefusesMaskBitsBeyondTheDiblocks) {
  const Arguments mask{"mask", "-d", "Birch", "-r", "5", "--custom-mask"};
  auto most = mask;
  most.emplace_back("0x3fff");
  EXPECT_EQ(RunHistoryCommand(most).status, 0);
  auto more = mask;
  more.emplace_back("16384");
  EXPECT_THAT(RunHistoryCommand(more).error,
              StartsWith("runhistory: --custom-mask: 16384 has bits beyond those of the 14 diblocks\n"));
}

TEST(CommandLine, HelpNamesEveryVerb) {
  const auto help = RunHistoryCommand({"--help"}).output;
  for (const auto* verb :
       {"show", "channel", "map", "mask", "dq", "pot", "diff", "check", "schema", "dump"}) {
    EXPECT_THAT(help, HasSubstr("\n  " + std::string(verb) + " "));
    const auto result = RunHistoryCommand({verb, "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("-d,--detector"));
  }
}

TEST(Answer, ThatCannotBeWrittenIsNoAnswer) {
  const auto result = RunHistoryCommandInto("/dev/full", {"schema"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "runhistory: cannot write to standard output\n");
}

TEST(CommandLine, AnUnknownDetectorIsAnsweredWithTheKnownOnes) {
  const auto result = RunHistoryCommand({"dump", "--detector", "Oak", "--run", "13000"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(
      result.error,
      HasSubstr(
          "there is no detector \"Oak\"; the detectors are Alder, Birch, Cedar, Damson, Elder, Fenwick"));
}

TEST(DumpOfASimulatedRun, NeedsNoDatabase) {
  const auto result =
      RunHistoryCommand({"dump", "-d", "Alder", "-r", "5", "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, StartsWith("****************************************\nDump of run 5\n"));
  EXPECT_THAT(result.output, HasSubstr("\nNum DCMs           : 14\n"));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST(DumpOfASimulatedRun, LeavesOutWhatACustomMaskLeavesOut) {
  const Arguments dump{"dump", "--detector", "Birch", "--run", "5", "--database", "host=/nonexistent"};
  EXPECT_THAT(RunHistoryCommand(dump).output, HasSubstr("\nNum DCMs           : 168\n"));
  auto masked = dump;
  masked.insert(masked.end(), {"--custom-mask", "0x2001"});
  EXPECT_THAT(RunHistoryCommand(masked).output, HasSubstr("\nNum DCMs           : 24\n"));
}

TEST(DumpOfASimulatedRun, TakesOptionsItHasNoUseFor) {
  const auto result =
      RunHistoryCommand({"dump", "--detector", "Birch", "--run", "5", "--no-color", "--retries", "2"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("Dump of run 5\n"));
}

TEST(DumpOfASimulatedRun, ThatCannotBeWrittenIsNoAnswer) {
  const auto result = RunHistoryCommandInto("/dev/full", {"dump", "--detector", "Birch", "--run", "5"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("cannot write to standard output"));
}

TEST(Dump, OfADeadServerSaysWhyWithStatusOne) {
  const auto result =
      RunHistoryCommand({"dump", "--detector", "Birch", "--run", "13000", "--database", "host=/nonexistent"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("/nonexistent"));
  EXPECT_THAT(result.error, HasSubstr("LoadDAQRunHistory: failed to load the runs table."));
}

}  // namespace
}  // namespace brio::test
