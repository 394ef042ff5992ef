// Every verb says of a saved run, byte by byte, what it says of it on the server: answer, standard error and
// status.
#include <algorithm>
#include <regex>
#include <stdexcept>

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

/// A snapshot that the command saved.
class FileOfCommand {
public:
  FileOfCommand(const std::vector<RunOfDetector>& runs, const std::string& server) {
    const EnvironmentVariable variable("BRIO_DATABASE", server);
    Arguments arguments{"snapshot", "save", "--output", Path()};
    for (const auto& [detector, run] : runs) {
      arguments.push_back(detector + ":" + std::to_string(run));
    }
    const auto result = RunHistoryCommand(arguments);
    if (result.status != 0) { throw std::runtime_error(result.error); }
  }
  std::string Path() const { return folder_.Path("saved.brio"); }
  std::string Database() const { return "snapshot:" + Path(); }

private:
  ScratchFolder folder_;
};

class VerbsOnSnapshot : public testing::TestWithParam<RunOfDetector> {};

TEST_P(VerbsOnSnapshot, SayWhatTheySayOnTheServer) {
  const auto& [detector, number] = GetParam();
  const std::string run = std::to_string(number);
  const std::string server = server::Template("small");
  const FileOfCommand file({GetParam()}, server);
  const Arguments about{"--detector", detector, "--run", run};
  std::vector<Arguments> commands{{"show"},
                                  {"show", "--json"},
                                  {"show", "--subruns"},
                                  {"list"},
                                  {"list", "--format", "csv"},
                                  {"exposure"},
                                  {"export", "boards", "--output", "-", "--format", "csv"},
                                  {"history", "gain", "--detector-mean"},
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

TEST(ListsOfASnapshot, HoldWhatItHoldsAndFailForARunThatItLacks) {
  const FileOfCommand file({{"Birch", 13000}, {"Birch", 13001}, {"Birch", 14999}}, server::Template("small"));
  const auto answer = [&](Arguments arguments) {
    const EnvironmentVariable variable("BRIO_DATABASE", file.Database());
    arguments.insert(arguments.end(), {"--detector", "Birch"});
    return RunHistoryCommand(arguments);
  };
  const auto all = answer({"list", "--format", "csv"});
  EXPECT_EQ(all.status, 0) << all.error;
  EXPECT_NE(all.output.find("\n13000,"), std::string::npos) << all.output;
  EXPECT_NE(all.output.find("\n13001,"), std::string::npos) << all.output;
  EXPECT_EQ(std::count(all.output.begin(), all.output.end(), '\n'), 3) << all.output;

  const auto lacking = answer({"pot", "--run", "13000-13002"});
  EXPECT_EQ(lacking.status, 1);
  EXPECT_NE(lacking.error.find(" holds runs 13000-13001, 14999 of Birch, not 13002"), std::string::npos)
      << lacking.error;

  const auto since = answer({"list", "--since", "2014-01-01"});
  EXPECT_EQ(since.status, 1);
  EXPECT_NE(since.error.find("the runs of a snapshot cannot be chosen by times or comparisons"),
            std::string::npos)
      << since.error;
}

TEST(DiffOnSnapshot, SaysWhatItSaysOnTheServer) {
  const std::string server = server::Template("small");
  const FileOfCommand file({{"Birch", 13000}, {"Birch", 13001}}, server);
  for (const Arguments& command :
       {Arguments{"diff", "13000", "13001", "--detector", "Birch"},
        Arguments{"diff", "13001", "13000", "--detector", "Birch", "--json", "--full"},
        Arguments{"show", "--run", "13000-13001", "--detector", "Birch"},
        Arguments{"pot", "--run", "13000-13001", "--detector", "Birch"},
        Arguments{"list", "--run", "13000-13001", "--detector", "Birch", "--json"},
        Arguments{"list", "--run", "13000-13001", "--detector", "Birch", "--type", "Physics", "--limit", "1"},
        Arguments{"exposure", "--run", "13000-13001", "--detector", "Birch"}}) {
    EXPECT_EQ(FirstDifference(Seen(command, file.Database()), Seen(command, server)), "")
        << testing::PrintToString(command);
  }
}

}  // namespace
}  // namespace brio::test
