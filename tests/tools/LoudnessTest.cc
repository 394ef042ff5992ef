// What reaches standard error beside the answer, and how often.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

const Arguments kDeadServer{"--detector", "Birch", "--run", "13000", "--database", "host=/nonexistent"};
const std::string kNoSocket = "connection to server on socket \"/nonexistent/";

CommandResult OnDeadServer(Arguments arguments, const Arguments& more = {}) {
  arguments.insert(arguments.end(), kDeadServer.begin(), kDeadServer.end());
  arguments.insert(arguments.end(), more.begin(), more.end());
  return RunHistoryCommand(arguments);
}

TEST(ADeadServer, IsToldOnceOnOneLine) {
  for (const auto& verb : {Arguments{"show"}, Arguments{"pot"}, Arguments{"mask"}, Arguments{"dq"},
                           Arguments{"map", "gain"}, Arguments{"channel", "66,17"}}) {
    SCOPED_TRACE(verb[0]);
    const auto result = OnDeadServer(verb);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(CountOf(result.error, kNoSocket), 1) << result.error;
    EXPECT_EQ(CountOf(result.error, "\n"), 1) << result.error;
    EXPECT_THAT(result.error, StartsWith("runhistory: "));
  }
  const auto shown = OnDeadServer({"show"}).output;
  EXPECT_EQ(CountOf(shown, kNoSocket), 1);
  EXPECT_EQ(CountOf(shown, "not known, as above\n"), 8);
}

/// Run 13004's settings have four boards whose mean gain is out of range.
const std::string kGain = "average gain for APD ";

TEST(ComplaintsThatDifferInNumbers, AreCountedInOneLineAfterTheAnswer) {
  const auto result = OnSmall("Birch", {"channel", "2/3/15/0", "--run", "13004"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(CountOf(result.error, kGain), 1);
  EXPECT_THAT(result.error, EndsWith("done!\nPull APD Info from DB\n"
                                     "runhistory: 4 messages that differ in their numbers (--verbose shows "
                                     "all), the first: average gain for APD 0020750 connected to "
                                     "dcm-2-3-6-15 is 88.0536 : 100 expected so default to that\n"));
  const auto onTerminal = RunHistoryCommandOnTerminal(
      OnDatabases(server::Template("small"), "Birch", {"channel", "2/3/15/0", "--run", "13004"}));
  EXPECT_LT(onTerminal.output.find("Channel 5"), onTerminal.output.find(kGain));
}

TEST(ComplaintsThatDifferInNumbers, AreAllShownWithVerboseAndByTheLevelInfo) {
  const Arguments arguments{"channel", "2/3/15/0", "--run", "13004"};
  auto verbose = arguments;
  verbose.emplace_back("--verbose");
  EXPECT_EQ(CountOf(OnSmall("Birch", verbose).error, kGain), 4);
  const EnvironmentVariable level("BRIO_LOG", "info");
  EXPECT_EQ(CountOf(OnSmall("Birch", arguments).error, kGain), 4);
}

TEST(AComplaint, ThatStandsAloneIsShownAfterTheAnswer) {
  const auto result = OnSmall("Birch", {"show", "--run", "13011"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, EndsWith("done!\n" + result.error.substr(result.error.rfind("20"))));
  EXPECT_EQ(CountOf(result.error, "left out 3 rows that point outside the run's detector"), 1);
}

TEST(Quiet, LeavesNothingButTheAnswer) {
  const Arguments arguments{"channel", "2/3/15/0", "--run", "13004"};
  const auto loud = OnSmall("Birch", arguments);
  auto quiet = arguments;
  quiet.emplace_back("--quiet");
  const auto result = OnSmall("Birch", quiet);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, loud.output);
  EXPECT_THAT(result.error, IsEmpty());
  const EnvironmentVariable off("BRIO_LOG", "off");
  const auto byLevel = OnSmall("Birch", arguments);
  EXPECT_EQ(byLevel.output, loud.output);
  EXPECT_THAT(byLevel.error, IsEmpty());
}

TEST(Quiet, SaysWhatStopsTheAnswer) {
  const auto result = OnSmall("Birch", {"map", "threshold", "--run", "13015", "-q"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error,
            "runhistory: run 13015 of Birch: there is no configuration 9999 in daqconfig.configurations\n");
  const EnvironmentVariable off("BRIO_LOG", "off");
  const auto dead = OnDeadServer({"mask"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_THAT(dead.error, StartsWith("runhistory: run 13000 of Birch: " + kNoSocket));
}

TEST(Quiet, LeavesTheProgressLinesOutOfADump) {
  const auto loud = OnSmall("Birch", {"dump", "--run", "13000"});
  EXPECT_THAT(loud.output, HasSubstr("RunHistory: Loading"));
  const auto result = OnSmall("Birch", {"dump", "--run", "13000", "--quiet"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, Not(HasSubstr("RunHistory: Loading")));
  EXPECT_THAT(result.output, HasSubstr("Num DCMs           : 168\n"));
  EXPECT_THAT(result.error, IsEmpty());
}

TEST(Quiet, IsNotForVerbose) { EXPECT_EQ(RunHistoryCommand({"schema", "-q", "-v"}).status, 2); }

TEST(OutputOfAMap, IntoAMissingFolderIsRefusedBeforeTheLoad) {
  const auto result = OnDeadServer({"map", "gain"}, {"-o", "/nonexistent/gain.svg"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "runhistory: cannot write /nonexistent/gain.svg: No such file or directory\n");
}

TEST(OutputOfAMap, HasTheFormOfItsEnding) {
  const Arguments map{"map", "installed", "--run", "13000"};
  const auto written = [&](const std::string& name, const Arguments& more = {}) {
    const std::string file = testing::TempDir() + "runhistory-" + name;
    Arguments arguments = map;
    arguments.insert(arguments.end(), {"-o", file});
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = OnSmall("Birch", arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, IsEmpty());
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    std::remove(file.c_str());
    return text.str();
  };
  EXPECT_THAT(written("map.svg"), HasSubstr("<svg "));
  EXPECT_THAT(written("map.CSV"), StartsWith("diblock,dcm,port,"));
  EXPECT_THAT(written("map.json"), StartsWith("{"));
  EXPECT_THAT(written("map.txt"), StartsWith("Birch, run 13000: "));
  EXPECT_THAT(written("map"), StartsWith("Birch, run 13000: "));
  EXPECT_THAT(written("map.svg", {"--format", "csv"}), StartsWith("diblock,dcm,port,"));
  Arguments standard = map;
  standard.insert(standard.end(), {"-o", "-"});
  EXPECT_EQ(OnSmall("Birch", standard).output, OnSmall("Birch", map).output);
  Arguments unknown = map;
  unknown.insert(unknown.end(), {"-o", "map.gif"});
  const auto refused = OnSmall("Birch", unknown);
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(
      refused.error,
      "runhistory: \"map.gif\" ends in none of .txt, .svg, .png, .pdf, .csv and .json; --format names the "
      "form\n");
}

}  // namespace
}  // namespace brio::test
