#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include <pugixml.hpp>

#include "experiment/DAQChannelMap.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::map<std::string, int> CountStates(const nlohmann::json& map) {
  std::map<std::string, int> counts;
  for (const auto& board : map["boards"]) {
    ++counts[board["state"].get<std::string>()];
  }
  return counts;
}

/// The number behind a legend's entry; -1 without such an entry.
int InLegend(const std::string& text, const std::string& entry) {
  const auto found = text.find("  " + entry + ": ");
  return found == std::string::npos ? -1 : std::stoi(text.substr(found + entry.size() + 4));
}

pugi::xml_document ParsedSvg(const std::string& text) {
  pugi::xml_document document;
  EXPECT_TRUE(document.load_string(text.c_str())) << text.substr(0, 200);
  return document;
}

/// How many boards a picture's elements cover: one that tells of several has a range of ports in its title.
int CellsOf(const pugi::xml_document& picture, const char* elements) {
  static const std::regex kRange(R"((\d+)/(\d+)/(\d+) to \1/\2/(\d+):.*)");
  int cells = 0;
  for (const auto& element : picture.select_nodes(elements)) {
    const std::string title = element.node().child_value("title");
    EXPECT_NE(title, "");
    std::smatch range;
    cells += std::regex_match(title, range, kRange) ? std::stoi(range[4]) - std::stoi(range[3]) + 1 : 1;
  }
  return cells;
}

TEST(MapVerb, ShowsEachBoardAsTheLibraryAnswersForIt) {
  const std::vector<std::pair<std::string, float dbi::RunHistory::FEB::*>> quantities{
      {"gain", &dbi::RunHistory::FEB::avgGain}, {"temperature", &dbi::RunHistory::FEB::temperature}};
  LibraryRun library("Birch", 13000);
  const auto& channels = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  for (const auto& [quantity, member] : quantities) {
    const auto map = JsonOnSmall("Birch", {"map", quantity, "--run", "13000"});
    ASSERT_EQ(map["boards"].size(), 10752U);
    int good = 0;
    for (const auto& board : map["boards"]) {
      bool ok = false;
      const auto channel =
          channels.encodeDChan(briodaq::cnv::Birch, board["diblock"], board["dcm"], board["port"], 0);
      const auto feb = library.history.GetFEB(channel, ok);
      const std::string state = board["state"];
      if (state == "good" || state == "replaced") {
        ++good;
        ASSERT_TRUE(ok) << board;
        ASSERT_EQ(board["value"].get<float>(), feb.*member) << board;
      } else {
        ASSERT_EQ(ok, state == "not recorded" || state == "never measured") << board;
        ASSERT_TRUE(board["value"].is_null());
      }
      const auto logical = channels.getLogicalChannel(channel);
      ASSERT_EQ(board["plane"], channels.getPlane(logical));
      ASSERT_EQ(board["module"], channels.getCell(logical) / 32);
    }
    EXPECT_GT(good, 900);
  }
}

TEST(MapVerb, ShowsTheMeanThresholdOfTheEnabledPixels) {
  const auto map = JsonOnSmall("Birch", {"map", "threshold", "--run", "13000"});
  EXPECT_EQ(map["unit"], "ADC counts");
  LibraryRun library("Birch", 13000);
  const auto& channels = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  int compared = 0;
  for (const auto& board : map["boards"]) {
    double sum = 0;
    int pixels = 0;
    for (unsigned int pixel = 0; pixel < 32; ++pixel) {
      bool ok = false;
      const int threshold = library.history.GetThreshold(
          channels.encodeDChan(briodaq::cnv::Birch, board["diblock"], board["dcm"], board["port"], pixel),
          ok);
      if (ok) {
        sum += threshold;
        ++pixels;
      }
    }
    ASSERT_EQ(board["state"] == "good", pixels > 0) << board;
    if (pixels == 0) { continue; }
    ASSERT_DOUBLE_EQ(board["value"].get<double>(), sum / pixels) << board;
    ++compared;
  }
  EXPECT_GT(compared, 900);
}

TEST(MapVerb, DrawsOneCharacterABoardInDCMRowsOf64Ports) {
  const auto result = OnSmall("Birch", {"map", "installed", "--run", "13000"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, testing::StartsWith("Birch, run 13000: installed boards\n"));
  EXPECT_THAT(result.output, HasSubstr(" boards installed\n\ndiblock 1   0         10 "));
  const auto map = JsonOnSmall("Birch", {"map", "installed", "--run", "13000"});
  std::istringstream lines(result.output);
  int rows = 0;
  int drawn = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("    DCM ", 0) != 0) { continue; }
    ++rows;
    ASSERT_EQ(line.size(), 12U + 64U);
    drawn += static_cast<int>(std::count(line.begin() + 12, line.end(), '#'));
  }
  EXPECT_EQ(rows, 14 * 12);
  EXPECT_EQ(drawn, CountStates(map)["good"]);
  EXPECT_EQ(InLegend(result.output, "installed"), drawn);
  EXPECT_EQ(InLegend(result.output, "not installed"), 10752 - drawn);
  EXPECT_THAT(result.output, Not(HasSubstr("\033[")));
}

TEST(MapVerb, LegendCountsEveryBoardOnce) {
  const auto text = OnSmall("Birch", {"map", "temperature", "--run", "13000"}).output;
  const auto begin = text.find("\nboards\n");
  const auto legend = text.substr(begin, text.find("\n\n", begin) - begin);
  int total = 0;
  for (auto at = legend.find(": "); at != std::string::npos; at = legend.find(": ", at + 1)) {
    total += std::stoi(legend.substr(at + 2));
  }
  EXPECT_EQ(total, 10752);
  EXPECT_GT(InLegend(text, "not enabled"), 0);
  EXPECT_THAT(legend, HasSubstr(" °C: "));
}

TEST(MapVerb, CallsMaskedDiblocksMasked) {
  const auto result = OnSmall("Birch", {"map", "enabled", "--run", "13010", "--analysis-mask"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(InLegend(result.output, "masked"), 10 * 12 * 64);
  EXPECT_EQ(InLegend(result.output, "not in the run"), -1);
  EXPECT_THAT(result.output, HasSubstr("\n    DCM 12  " + std::string(64, '-') + "\n"));
  const auto map = JsonOnSmall("Birch", {"map", "enabled", "--run", "13010", "--analysis-mask"});
  EXPECT_EQ(CountStates(map)["masked"], 10 * 12 * 64);
  const auto csv =
      OnSmall("Birch", {"map", "enabled", "--run", "13010", "--analysis-mask", "--format", "csv"}).output;
  EXPECT_THAT(csv, HasSubstr("\n1,1,0,0,0,masked,0\n"));
  const auto svg =
      OnSmall("Birch", {"map", "enabled", "--run", "13010", "--analysis-mask", "--format", "svg"}).output;
  EXPECT_TRUE(ParsedSvg(svg).select_node("//text[.='masked: 7680']"));
}

TEST(MapVerb, LeavesDiblocksBlankThatTookNoPart) {
  const auto result = OnSmall("Birch", {"map", "enabled", "--run", "13003"});
  EXPECT_EQ(InLegend(result.output, "not in the run"), 4 * 12 * 64);
  EXPECT_EQ(InLegend(result.output, "masked"), -1);
  EXPECT_THAT(result.output, HasSubstr("\n    DCM 12\n"));
}

TEST(MapVerb, ShowsBoardsWhoseGainsWereReplaced) {
  const auto map = JsonOnSmall("Birch", {"map", "gain", "--run", "13004"});
  auto states = CountStates(map);
  EXPECT_GT(states["replaced"], 1);
  EXPECT_GT(states["never measured"], 1);
  for (const auto& board : map["boards"]) {
    if (board["diblock"] == 12 && board["dcm"] == 1 && board["port"] == 0) {
      EXPECT_EQ(board["state"], "replaced");
      EXPECT_EQ(board["value"], 100);
      EXPECT_NEAR(board["measured"].get<double>(), 89.9, 1e-4);
    }
  }
  const auto text = OnSmall("Birch", {"map", "gain", "--run", "13004"}).output;
  EXPECT_EQ(InLegend(text, "replaced"), states["replaced"]);
  EXPECT_EQ(InLegend(text, "never measured"), states["never measured"]);
  EXPECT_THAT(text, HasSubstr("\n    DCM 1   !"));
}

TEST(MapVerb, CallsGainsOfHighDiblocksLeftOut) {
  const auto states = CountStates(JsonOnSmall("Birch", {"map", "gain", "--run", "13003"}));
  EXPECT_GT(states.at("left out"), 100);
  EXPECT_EQ(states.count("not recorded"), 0U);
}

TEST(MapVerb, OfSettingsSaysThatTheConfigurationCouldNotBeRead) {
  for (const auto* quantity : {"gain", "voltage", "temperature"}) {
    const auto missing = OnSmall("Birch", {"map", quantity, "--run", "13015"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.output, IsEmpty());
    EXPECT_THAT(missing.error, HasSubstr("run 13015 of Birch: there is no configuration 9999"));
  }
  const ScratchDatabases databases("small");
  databases.Execute("REVOKE SELECT ON daqconfig.enable_masks FROM PUBLIC, brio_reader");
  const auto revoked =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"map", "gain", "--run", "13000"}));
  EXPECT_EQ(revoked.status, 1);
  EXPECT_THAT(revoked.output, IsEmpty());
  EXPECT_THAT(revoked.error, HasSubstr("permission denied for table enable_masks"));
}

TEST(MapVerb, DrawsTheNearDetectorsOwnShape) {
  const auto map = JsonOnSmall("Alder", {"map", "installed", "--run", "11000"});
  EXPECT_EQ(map["boards"].size(), 629U);
  EXPECT_EQ(CountStates(map)["good"], 626);
  const auto gain = OnSmall("Alder", {"map", "gain", "--run", "11000"});
  EXPECT_EQ(gain.status, 1);
  EXPECT_THAT(gain.output, IsEmpty());
  EXPECT_THAT(gain.error, HasSubstr("runhistory: run 11000 of Alder: gains are recorded for Birch only\n"));
}

TEST(MapVerb, WritesATableForFurtherUse) {
  const auto result = OnSmall("Birch", {"map", "voltage", "--run", "13000", "--format", "csv"});
  EXPECT_EQ(result.status, 0);
  std::istringstream lines(result.output);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "diblock,dcm,port,plane,module,state,voltage");
  const auto map = JsonOnSmall("Birch", {"map", "voltage", "--run", "13000"});
  std::size_t row = 0;
  for (; std::getline(lines, line); ++row) {
    const auto& board = map["boards"].at(row);
    std::ostringstream expected;
    expected << board["diblock"] << ',' << board["dcm"] << ',' << board["port"] << ',' << board["plane"]
             << ',' << board["module"] << ',' << board["state"].get<std::string>() << ','
             << (board["value"].is_null() ? "" : board["value"].dump());
    ASSERT_EQ(line, expected.str());
  }
  EXPECT_EQ(row, 10752U);
}

TEST(MapVerb, PicturesEveryBoardWithAxesAndLegend) {
  const auto result = OnSmall("Birch", {"map", "threshold", "--run", "13000", "--format", "svg"});
  EXPECT_EQ(result.status, 0);
  const auto document = ParsedSvg(result.output);
  const auto svg = document.child("svg");
  EXPECT_STREQ(svg.child_value("title"),
               "Birch, run 13000: mean threshold of a board's enabled pixels (ADC counts)");
  const auto map = JsonOnSmall("Birch", {"map", "threshold", "--run", "13000"});
  const auto states = CountStates(map);
  EXPECT_EQ(CellsOf(document, "//g[@class='boards']//g[@stroke]/path | //g[@class='beyond']/path[title]"),
            states.at("good"));
  EXPECT_EQ(CellsOf(document, "//g[@class='not-enabled']/path"), states.at("not enabled"));
  EXPECT_EQ(CellsOf(document, "//g[@class='not-installed']/path"), states.at("not installed"));
  EXPECT_EQ(svg.select_nodes("//text[.='port']").size(), 14U);
  EXPECT_EQ(svg.select_nodes("//text[.='DCM']").size(), 14U);
  EXPECT_TRUE(svg.select_node("//text[.='diblock 14']"));
  EXPECT_GT(svg.select_nodes("//g[@class='scale']/rect").size(), 10U);
  const auto notEnabled = "not enabled: " + std::to_string(states.at("not enabled"));
  EXPECT_TRUE(svg.select_node(("//g[@class='legend']//text[.='" + notEnabled + "']").c_str()));
}

TEST(MapVerb, TellsABoardsValueWhereThePictureIsPointedAt) {
  const auto result = OnSmall("Birch", {"map", "installed", "--run", "13000", "--format", "svg"});
  const auto document = ParsedSvg(result.output);
  EXPECT_TRUE(document.select_node("//g[@class='yes']/path/title[.='1/1/0 to 1/1/1: installed']"));
  EXPECT_TRUE(
      document.select_node("//g[@class='not-installed']/path/title[.='1/1/2 to 1/1/14: not installed']"));
}

TEST(MapVerb, WritesToAFileWhenAsked) {
  const std::string file = testing::TempDir() + "map_verb_test.svg";
  const auto result =
      OnSmall("Birch", {"map", "installed", "--run", "13000", "--format", "svg", "--output", file});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, IsEmpty());
  std::ifstream stream(file);
  std::ostringstream written;
  written << stream.rdbuf();
  EXPECT_EQ(CellsOf(ParsedSvg(written.str()), "//g[@class='boards']//path"), 10752);
  std::filesystem::remove(file);
  const auto failed =
      OnSmall("Birch", {"map", "installed", "--run", "13000", "--output", "/nonexistent/map.txt"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.error, HasSubstr("runhistory: cannot write /nonexistent/map.txt: No such file"));
}

TEST(MapVerb, OfASimulatedRunIsThePerfectDetectorOrARefusal) {
  const auto installed = JsonOnSmall("Birch", {"map", "installed", "--run", "5"});
  EXPECT_EQ(CountStates(installed), (std::map<std::string, int>{{"good", 10752}}));
  const auto threshold = OnSmall("Birch", {"map", "threshold", "--run", "5"});
  EXPECT_EQ(threshold.status, 1);
  EXPECT_THAT(threshold.output, IsEmpty());
  EXPECT_THAT(threshold.error, HasSubstr("a simulated run has no DAQ configuration"));
}

TEST(MapVerb, SaysWhyThereIsNoMap) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"Birch", "14999", "installed"}, "run 14999 of Birch: there is no such run\n"},
      {{"Birch", "13006", "installed"}, "run 13006 of Birch: LoadDAQRunHistory: no resources found"},
      {{"Birch", "13015", "enabled"}, "run 13015 of Birch: there is no configuration 9999"},
      {{"Cedar", "12000", "installed"}, "run 12000 of Cedar: no hardware is recorded for this detector\n"}};
  for (const auto& [where, reason] : cases) {
    const auto result = OnSmall(where[0], {"map", where[2], "--run", where[1]});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr(reason));
  }
}

TEST(MapVerb, WithSettingsThatCannotBeReadHasStatusOneAndNoAnswer) {
  for (const char* table : {"slowcontrol.apd_settings", "public.apd_pixel_m"}) {
    SCOPED_TRACE(table);
    const ScratchDatabases databases("small", {"birch"});
    databases.Execute(std::string("REVOKE SELECT ON ") + table + " FROM PUBLIC, brio_reader");
    const auto result =
        RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"map", "gain", "--run", "13000"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_THAT(result.error, HasSubstr("runhistory: run 13000 of Birch: database"));
  }
}

TEST(MapVerb, OnATerminalIsColouredUnlessToldOtherwise) {
  const auto arguments =
      OnDatabases(server::Template("small"), "Birch", {"map", "installed", "--run", "13000"});
  EXPECT_THAT(RunHistoryCommandOnTerminal(arguments).output, HasSubstr("\033[48;5;"));
  auto plain = arguments;
  plain.emplace_back("--no-color");
  EXPECT_THAT(RunHistoryCommandOnTerminal(plain).output, Not(HasSubstr("\033[48;5;")));
  const EnvironmentVariable noColor("NO_COLOR", "1");
  EXPECT_THAT(RunHistoryCommandOnTerminal(arguments).output, Not(HasSubstr("\033[48;5;")));
}

TEST(LongWork, ShowsProgressOnATerminalOnly) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute(
      "CREATE FUNCTION public.slow() RETURNS boolean LANGUAGE sql AS 'SELECT pg_sleep(2.5) IS NOT NULL';"
      "ALTER TABLE daq.runs RENAME TO real_runs;"
      "CREATE VIEW daq.runs AS SELECT * FROM daq.real_runs WHERE public.slow() OR run > 0;"
      "GRANT SELECT ON daq.runs TO brio_reader");
  databases.Execute("DELETE FROM daq.real_runs WHERE run <> 13000");
  const auto arguments = OnDatabases(databases.Template(), "Birch", {"pot", "--run", "13000"});
  const auto shown = RunHistoryCommandOnTerminal(arguments);
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.output, HasSubstr("\r\033[Krunhistory: listing runs of Birch … 1 s"));
  EXPECT_THAT(shown.output, HasSubstr("\r\033[K13000  2.3e+17"));
  EXPECT_THAT(RunHistoryCommand(arguments).error, Not(HasSubstr("listing")));
}

}  // namespace
}  // namespace brio::test
