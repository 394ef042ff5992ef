#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kNotWritten = "runhistory: cannot write to standard output\n";

Arguments Show(const std::string& run) {
  return OnDatabases(server::Template("small"), "Birch", {"show", "--run", run});
}

TEST(StandardStreams, ClosedInputOrErrorChangesNoAnswer) {
  const auto answer = RunHistoryCommand(Show("13000")).output;
  EXPECT_THAT(answer, HasSubstr("\n  installed       "));
  for (const std::vector<int>& closed : {std::vector<int>{0}, {2}, {0, 2}}) {
    const auto result = RunHistoryCommandWithout(closed, Show("13000"));
    EXPECT_EQ(result.status, 0) << testing::PrintToString(closed);
    EXPECT_EQ(result.output, answer) << testing::PrintToString(closed);
    EXPECT_EQ(RunHistoryCommandWithout(closed, Show("14999")).status, 1) << testing::PrintToString(closed);
    EXPECT_EQ(RunHistoryCommandWithout(closed, {"show"}).status, 2) << testing::PrintToString(closed);
  }
}

TEST(StandardStreams, AnAnswerForAClosedOutputIsNotWritten) {
  for (const auto& arguments :
       {Show("13000"), OnDatabases(server::Template("small"), "Alder", {"dump", "-r", "5"}),
        Arguments{"--help"}, Arguments{"--version"}, Arguments{"show", "--help"}}) {
    for (const std::vector<int>& closed : {std::vector<int>{1}, {0, 1}}) {
      const auto result = RunHistoryCommandWithout(closed, arguments);
      EXPECT_EQ(result.status, 1) << arguments[0];
      EXPECT_THAT(result.error, testing::EndsWith(kNotWritten)) << arguments[0];
    }
    EXPECT_EQ(RunHistoryCommandWithout({0, 1, 2}, arguments).status, 1) << arguments[0];
  }
}

TEST(StandardStreams, WithoutAnAnswerAClosedOutputIsNoError) {
  const std::string file = testing::TempDir() + "closed_output_" + std::to_string(getpid()) + ".csv";
  const auto map = [&](const std::string& into) {
    return OnDatabases(server::Template("small"), "Birch",
                       {"map", "installed", "--run", "13000", "--format", "csv", "-o", into});
  };
  const auto result = RunHistoryCommandWithout({1}, map(file));
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(unlink(file.c_str()), 0);
}

TEST(StandardStreams, HelpThatCannotBeWrittenIsNoAnswer) {
  const auto result = RunHistoryCommandInto("/dev/full", {"--help"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, kNotWritten);
}

TEST(StandardStreams, ChannelsThatCannotBeReadAreAnError) {
  const auto channel = OnDatabases(server::Template("small"), "Birch", {"channel", "--run", "13000"});
  const auto result = RunHistoryCommandWithout({0}, channel);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "runhistory: cannot read standard input\n");
  // An empty input is none.
  EXPECT_EQ(RunHistoryCommand(channel, "").status, 0);
}

}  // namespace
}  // namespace brio::test
