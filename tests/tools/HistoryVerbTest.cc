#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "tests/tools/Sample.h"
#include "tests/tools/Sessions.h"

namespace brio::test {
namespace {

using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;

json HistoryOf(const std::string& quantity, Arguments arguments, const std::string& detector = "Birch") {
  arguments.insert(arguments.begin(), {"history", quantity, "--json"});
  const auto result = OnSmall(detector, arguments);
  return result.output.empty() ? json() : json::parse(result.output);
}

TEST(HistoryVerb, SetsValuesOfAChannelInATableAndMarksChanges) {
  const auto result = OnSmall("Birch", {"history", "threshold", "--channel", "66,17", "-r", "13000-13006"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(
      result.output,
      "threshold of channel 545325329 of Birch, ADC counts: 4 of 7 runs have a value, 2 changes\n"
      "  run          start (UTC)  threshold  change\n"
      "13000  2014-06-10 03:00:00         61\n"
      "13001  2015-08-01 15:30:00         58      -3  *\n"
      "13002  2016-03-01 03:00:00         65      +7  *\n"
      "13003  2016-03-02 15:00:00          -          not in the run\n"
      "13004  2016-03-04 03:00:00         65\n"
      "13005                    -          -          there is no configuration 0 in "
      "daqconfig.configurations\n"
      "13006  2016-03-07 03:00:00          -          LoadDAQRunHistory: no resources found for run 13006\n");
}

TEST(HistoryVerb, AgreesWithTheVerbChannel) {
  for (const auto& [quantity, key] : {std::pair("threshold", "threshold"),
                                      {"gain", "gain"},
                                      {"voltage", "voltage"},
                                      {"temperature", "temperature"},
                                      {"enabled", "enabled"}}) {
    const auto history = HistoryOf(quantity, {"--channel", "12/1/0/5", "-r", "13002-13004"});
    ASSERT_EQ(history.size(), 3U);
    for (const auto& point : history) {
      const auto run = std::to_string(point["run"].get<int>());
      const auto facts = JsonOnSmall("Birch", {"channel", "--run", run, "12/1/0/5"})["channels"][0];
      EXPECT_EQ(point["value_status"], facts["status"][key]) << quantity << ' ' << run;
      if (facts["status"][key] != "known") {
        EXPECT_TRUE(point["value"].is_null());
      } else if (facts[key].is_boolean()) {
        EXPECT_EQ(point["value"], facts[key] ? 1 : 0);
      } else {
        EXPECT_NEAR(point["value"].get<double>(), facts[key].get<double>(), 1e-4);
      }
    }
  }
}

TEST(HistoryVerb, AgreesWithTheMapOnBoardsAndTheirMeans) {
  const auto map = JsonOnSmall("Birch", {"map", "temperature", "--run", "13002"});
  double sum = 0;
  int count = 0;
  double sumOfDCM = 0;
  int countOfDCM = 0;
  json one;
  for (const auto& board : map["boards"]) {
    if (board["state"] != "good") { continue; }
    const double value = board["value"];
    sum += value;
    ++count;
    if (board["diblock"] != 5 || board["dcm"] != 3) { continue; }
    one = board;
    sumOfDCM += value;
    ++countOfDCM;
  }
  ASSERT_GT(countOfDCM, 1);
  const auto all = HistoryOf("temperature", {"--detector-mean", "-r", "13002"})[0];
  EXPECT_NEAR(all["value"].get<double>(), sum / count, 1e-4);
  EXPECT_EQ(all["boards"], count);
  const auto dcm = HistoryOf("temperature", {"--dcm", "5/3", "-r", "13002"})[0];
  EXPECT_NEAR(dcm["value"].get<double>(), sumOfDCM / countOfDCM, 1e-4);
  EXPECT_EQ(dcm["boards"], countOfDCM);
  const auto place = "5/3/" + std::to_string(one["port"].get<int>());
  const auto board = HistoryOf("temperature", {"--board", place, "-r", "13002"})[0];
  EXPECT_NEAR(board["value"].get<double>(), one["value"].get<double>(), 1e-4);
}

TEST(HistoryVerb, CountsBoardsThatAreInstalledOrEnabled) {
  const auto show = JsonOnSmall("Birch", {"show", "--run", "13003"});
  EXPECT_EQ(HistoryOf("installed", {"--detector-mean", "-r", "13003"})[0]["value"], show["boards_installed"]);
  EXPECT_EQ(HistoryOf("enabled", {"--detector-mean", "-r", "13003"})[0]["value"],
            show["boards_enabled_installed"]);
}

TEST(HistoryVerb, SaysWhyARunHasNoValue) {
  const auto missing = HistoryOf("voltage", {"--board", "4/1/0", "-r", "13003"})[0];
  EXPECT_TRUE(missing["value"].is_null());
  EXPECT_EQ(missing["value_status"], "not in the run");
  const auto result = OnSmall("Birch", {"history", "voltage", "--dcm", "5/1", "-r", "13005-13007", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error,
              HasSubstr("runhistory: run 13006 of Birch: LoadDAQRunHistory: no resources found"));
  const auto unread = json::parse(result.output)[1];
  EXPECT_EQ(unread["run"], 13006);
  EXPECT_THAT(unread["value_status"].get<std::string>(), HasSubstr("no resources found for run 13006"));
}

TEST(HistoryVerb, ShowsWhatWasMeasuredWhereAGainWasReplaced) {
  const auto replaced = HistoryOf("gain", {"--board", "12/1/0", "-r", "13004"})[0];
  EXPECT_TRUE(replaced["value"].is_null());
  EXPECT_EQ(replaced["value_status"], "replaced");
  EXPECT_NEAR(replaced["measured"].get<double>(), 89.9, 1e-4);
}

TEST(HistoryVerb, MarksChangesOfMoreThanIsAllowed) {
  const auto history = HistoryOf("temperature", {"--board", "5/3/0", "-r", "13000-13002"});
  ASSERT_EQ(history.size(), 3U);
  EXPECT_TRUE(history[0]["change"].is_null());
  double most = 0;
  for (std::size_t i = 1; i < 3; ++i) {
    const double change = history[i]["value"].get<double>() - history[i - 1]["value"].get<double>();
    most = std::max(most, std::abs(change));
    EXPECT_EQ(history[i]["change"].is_null(), change == 0);
    if (change != 0) { EXPECT_NEAR(history[i]["change"].get<double>(), change, 1e-4); }
  }
  ASSERT_GT(most, 0);
  for (const auto& point : HistoryOf(
           "temperature", {"--board", "5/3/0", "-r", "13000-13002", "--change", std::to_string(most + 1)})) {
    EXPECT_TRUE(point["change"].is_null());
  }
}

TEST(HistoryVerb, ComparesWithTheLastKnownValue) {
  const auto history = HistoryOf("voltage", {"--board", "1/1/1", "-r", "13002-13004"});
  ASSERT_EQ(history.size(), 3U);
  EXPECT_TRUE(history[1]["value"].is_null());  // diblock 1 is not in run 13003
  const double change = history[2]["value"].get<double>() - history[0]["value"].get<double>();
  EXPECT_EQ(history[2]["change"].is_null(), change == 0);
}

class HistoryFile : public testing::Test {
protected:
  HistoryFile() {
    std::string pattern = std::filesystem::temp_directory_path() / "brio-history-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) { throw std::runtime_error("cannot make a folder"); }
    folder_ = pattern;
  }
  ~HistoryFile() override { std::filesystem::remove_all(folder_); }
  HistoryFile(const HistoryFile&) = delete;
  HistoryFile& operator=(const HistoryFile&) = delete;

  std::string Path(const std::string& name) const { return folder_ / name; }
  static std::string Contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }

  std::filesystem::path folder_;
};

TEST_F(HistoryFile, HasTheFormOfItsEnding) {
  const Arguments asked{"history", "threshold", "--board", "5/3/0", "-r", "13000-13006"};
  const auto with = [&](Arguments more) {
    more.insert(more.begin(), asked.begin(), asked.end());
    return OnSmall("Birch", more);
  };
  for (const auto& [name, form] : {std::pair("a.txt", "text"),
                                   {"a.csv", "csv"},
                                   {"a.json", "json"},
                                   {"a.jsonl", "jsonl"},
                                   {"a.svg", "svg"}}) {
    ASSERT_EQ(with({"-o", Path(name)}).status, 0);
    EXPECT_EQ(Contents(Path(name)), with({"--format", form}).output);
  }
  EXPECT_THAT(Contents(Path("a.csv")),
              testing::StartsWith(
                  "run,start,value,value_status,measured,boards,change\n13000,2014-06-10T03:00:00Z,"));
  EXPECT_EQ(with({"-o", Path("a.png")}).status, 2);
}

TEST_F(HistoryFile, IsAPictureWithAMarkForEachRun) {
  const auto path = Path("a.svg");
  ASSERT_EQ(
      OnSmall("Birch", {"history", "voltage", "--board", "1/1/1", "-r", "13000-13011", "-o", path}).status,
      0);
  pugi::xml_document picture;
  ASSERT_TRUE(picture.load_file(path.c_str()));
  const auto count = [&](const std::string& kind) {
    return picture.select_nodes(("//path[@class='" + kind + "']").c_str()).size();
  };
  std::size_t values = 0;
  std::size_t changes = 0;
  for (const auto& point : HistoryOf("voltage", {"--board", "1/1/1", "-r", "13000-13011"})) {
    values += point["value"].is_null() ? 0 : 1;
    changes += point["change"].is_null() ? 0 : 1;
  }
  EXPECT_EQ(count("value") + count("change"), values);
  EXPECT_EQ(count("change"), changes);
  EXPECT_EQ(count("missing"), 12 - values);
  EXPECT_GT(values, 5U);
  EXPECT_LT(values, 12U);
  const auto convert = "rsvg-convert -o " + Path("a.png") + ' ' + path;
  EXPECT_EQ(std::system(convert.c_str()), 0);
}

TEST(HistoryVerb, RefusesWhatTheDetectorDoesNotHave) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"--board", "5/3"}, "runhistory: board \"5/3\": a board is diblock/DCM/port\n"},
      {{"--board", "15/1/0"}, "runhistory: board \"15/1/0\": the detector has no such place for a board\n"},
      {{"--dcm", "5/13"}, "runhistory: DCM \"5/13\": the detector has no such DCM\n"},
      {{"--dcm", "5/x"}, "runhistory: DCM \"5/x\": a DCM is diblock/DCM\n"},
      {{"--channel", "66"}, "runhistory: channel \"66\": "}};
  for (const auto& [subject, reason] : cases) {
    const auto result = OnSmall("Birch", {"history", "gain", subject[0], subject[1], "-r", "13000"});
    EXPECT_EQ(result.status, 2) << subject[1];
    EXPECT_THAT(result.error, HasSubstr(reason));
  }
  EXPECT_EQ(OnSmall("Birch", {"history", "gain", "-r", "13000"}).status, 2);
  EXPECT_EQ(OnSmall("Birch", {"history", "gain", "--dcm", "5/1", "--detector-mean", "-r", "13000"}).status,
            2);
  EXPECT_EQ(OnSmall("Birch", {"history", "colour", "--detector-mean", "-r", "13000"}).status, 2);
}

TEST(HistoryVerb, CountsNoEnabledBoardsWhereTheConfigurationCannotBeRead) {
  const auto result = OnSmall("Birch", {"history", "enabled", "--detector-mean", "-r", "13014-13016"});
  EXPECT_THAT(result.output, ContainsRegex("\n13015 [^\n]* - +there is no configuration 9999 in"));
  EXPECT_THAT(result.output, ContainsRegex("\n13014 [^\n]* - +configuration 1011 has no enable masks"));
  EXPECT_THAT(result.output, ContainsRegex("\n13016 [^\n]* [1-9][0-9]*\n"));
}

TEST(HistoryVerb, TellsOfRunsThatThereAreNot) {
  const auto some = OnSmall("Birch", {"history", "voltage", "--board", "5/3/0", "-r", "13039-13050"});
  EXPECT_EQ(some.status, 0);
  EXPECT_THAT(some.error, HasSubstr("runhistory: the runs table of Birch does not have 13041-13050\n"));
  EXPECT_EQ(OnSmall("Birch", {"history", "voltage", "--board", "5/3/0", "-r", "14999"}).status, 1);
}

TEST(HistoryVerb, OpensOneConnection) {
  const ScratchDatabases databases("small");
  const auto before = SessionsOf(databases.Name());
  const auto result = RunHistoryCommand(OnDatabases(
      databases.Template(), "Birch", {"history", "voltage", "--dcm", "5/3", "-r", "13000-13003"}));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(SessionsOf(databases.Name(), before), 1);
}

}  // namespace
}  // namespace brio::test
