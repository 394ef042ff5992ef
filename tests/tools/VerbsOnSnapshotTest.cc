// Every verb says of a saved run, byte by byte, what it says of it on the server: answer, standard error and
// status.
#include <regex>

#include <gtest/gtest.h>

#include "tests/snapshot/SavedFile.h"
#include "tests/snapshot/Transcript.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

/// All that a command leaves; messages of the logger begin with the time.
std::string Seen(const Arguments& arguments, const std::string& database) {
  static const std::regex kTime(R"((^|\n)\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ )");
  const EnvironmentVariable variable("BRIO_DATABASE", database);
  const auto result = RunHistoryCommand(arguments);
  return "status " + std::to_string(result.status) + '\n' + result.output + "--\n" +
         std::regex_replace(result.error, kTime, "$1");
}

class VerbsOnSnapshot : public testing::TestWithParam<RunOfDetector> {};

TEST_P(VerbsOnSnapshot, SayWhatTheySayOnTheServer) {
  const auto& [detector, number] = GetParam();
  const std::string run = std::to_string(number);
  const std::string server = server::Template("small");
  const SavedFile file({GetParam()}, server);
  const Arguments about{"--detector", detector, "--run", run};
  std::vector<Arguments> commands{{"show"},
                                  {"show", "--json"},
                                  {"show", "--use-mask"},
                                  {"show", "--custom-mask", "0x155"},
                                  {"channel", "0,0", "66,17", "700,100"},
                                  {"mask"},
                                  {"mask", "--json"},
                                  {"dq"},
                                  {"pot"},
                                  {"dump"},
                                  {"dump", "--analysis-mask"},
                                  {"map", "gain", "--format", "csv"},
                                  {"map", "temperature"},
                                  {"map", "installed"},
                                  {"map", "threshold", "--use-mask"}};
  for (auto& command : commands) {
    command.insert(command.end(), about.begin(), about.end());
    const std::string expected = Seen(command, server);
    EXPECT_EQ(FirstDifference(Seen(command, file.Database()), expected), "")
        << testing::PrintToString(command);
  }
}

INSTANTIATE_TEST_SUITE_P(Runs, VerbsOnSnapshot,
                         testing::Values(RunOfDetector{"Birch", 13000}, RunOfDetector{"Birch", 13004},
                                         RunOfDetector{"Birch", 13005}, RunOfDetector{"Birch", 13006},
                                         RunOfDetector{"Birch", 13008}, RunOfDetector{"Birch", 13012},
                                         RunOfDetector{"Birch", 13014}, RunOfDetector{"Birch", 13015},
                                         RunOfDetector{"Birch", 14999}, RunOfDetector{"Birch", 5},
                                         RunOfDetector{"Alder", 11001}, RunOfDetector{"Alder", 11003},
                                         RunOfDetector{"Cedar", 12000}),
                         [](const auto& run) { return run.param.first + std::to_string(run.param.second); });

TEST(DiffOnSnapshot, SaysWhatItSaysOnTheServer) {
  const std::string server = server::Template("small");
  const SavedFile file({{"Birch", 13000}, {"Birch", 13001}}, server);
  for (const Arguments& command :
       {Arguments{"diff", "13000", "13001", "--detector", "Birch"},
        Arguments{"diff", "13001", "13000", "--detector", "Birch", "--json", "--full"},
        Arguments{"show", "--run", "13000-13001", "--detector", "Birch"}}) {
    EXPECT_EQ(FirstDifference(Seen(command, file.Database()), Seen(command, server)), "")
        << testing::PrintToString(command);
  }
}

}  // namespace
}  // namespace brio::test
