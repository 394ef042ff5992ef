#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

#include <pugixml.hpp>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Arguments With(Arguments arguments, const Arguments& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

std::string SvgOnSmall(const std::string& detector, const Arguments& arguments) {
  const auto result = OnSmall(detector, With(arguments, {"--format", "svg"}));
  EXPECT_EQ(result.status, 0) << result.error;
  return result.output;
}

pugi::xml_document Parsed(const std::string& svg) {
  pugi::xml_document document;
  EXPECT_TRUE(document.load_string(svg.c_str())) << svg.substr(0, 200);
  return document;
}

bool Says(const pugi::xml_document& picture, const std::string& text) {
  return !picture.select_nodes(("//text[.=\"" + text + "\"]").c_str()).empty();
}

/// The values of a map's boards that are good.
std::vector<double> GoodValues(const nlohmann::json& map) {
  std::vector<double> values;
  for (const auto& board : map["boards"]) {
    if (board["state"] == "good") { values.push_back(board["value"]); }
  }
  return values;
}

std::string Fixed(double value, int digits) {
  std::ostringstream text;
  text.precision(digits);
  text << std::fixed << value;
  return text.str();
}

/// Where a board's stroke stands in the grid of the picture.
struct Cell {
  int column = -1;
  int row = -1;
};

/// By what a tooltip begins with, up to the colon: where each board with a value stands.
std::map<std::string, Cell> CellsByName(const pugi::xml_document& picture) {
  std::map<std::string, Cell> cells;
  for (const auto& element : picture.select_nodes("//g[@stroke]/path")) {
    const std::string title = element.node().child_value("title");
    Cell& cell = cells[title.substr(0, title.find(':'))];
    EXPECT_EQ(std::sscanf(element.node().attribute("d").value(), "M%d %dv1", &cell.column, &cell.row), 2);
  }
  return cells;
}

TEST(MapPicture, OfTheGeometryHasAPlaneAColumnAndAModuleALine) {
  const std::map<std::string, std::pair<std::string, int>> detectors{{"Birch", {"13000", 12}},
                                                                     {"Alder", {"11000", 3}}};
  for (const auto& [detector, run] : detectors) {
    const auto& [number, modules] = run;
    const Arguments arguments{"map", "voltage", "--run", number};
    const auto picture = Parsed(SvgOnSmall(detector, With(arguments, {"--view", "geometry"})));
    EXPECT_TRUE(Says(picture, "view X, even planes"));
    EXPECT_TRUE(Says(picture, "view Y, odd planes"));
    auto cells = CellsByName(picture);
    int good = 0;
    int firstRowOfY = 1000;
    for (const auto& [name, cell] : cells) {
      if (std::stoi(name) % 2 == 1) { firstRowOfY = std::min(firstRowOfY, cell.row); }
    }
    EXPECT_GT(firstRowOfY, modules);
    const auto map = JsonOnSmall(detector, arguments);
    for (const auto& board : map["boards"]) {
      const int plane = board["plane"];
      const int module = board["module"];
      const auto found = cells.find(std::to_string(plane) + ',' + std::to_string(32 * module));
      if (found == cells.end()) { continue; }  // without a value, or beyond the scale
      ++good;
      EXPECT_EQ(board["state"], "good");
      EXPECT_EQ(found->second.column, plane / 2);
      EXPECT_EQ(found->second.row, (plane % 2 == 0 ? 0 : firstRowOfY) + modules - 1 - module);
    }
    EXPECT_EQ(good, static_cast<int>(cells.size()));
    EXPECT_GT(good, detector == "Birch" ? 900 : 500);
  }
}

TEST(MapPicture, HasRunDateSettingsMaskMeanAndSpreadInItsHeading) {
  const Arguments arguments{"map", "temperature", "--run", "13010", "--use-mask"};
  const auto picture = Parsed(SvgOnSmall("Birch", arguments));
  EXPECT_TRUE(
      Says(picture,
           "run 13010: 2016-03-13 03:00:00 UTC, Physics, configuration 1003, diblocks 1-6, 8-9, 11-14, "
           "good-diblock mask: diblocks 1-6, 8-9, 11-14"));
  const auto values = GoodValues(JsonOnSmall("Birch", arguments));
  double mean = 0;
  double square = 0;
  for (const double value : values) {
    mean += value / static_cast<double>(values.size());
    square += value * value / static_cast<double>(values.size());
  }
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  const auto summary = std::to_string(values.size()) + " boards: mean " + Fixed(mean, 3) + " °C, spread " +
                       Fixed(std::sqrt(square - mean * mean), 3) + " °C (standard deviation), from " +
                       Fixed(*least, 2) + " to " + Fixed(*most, 2) + " °C";
  EXPECT_TRUE(Says(picture, summary)) << summary;
  const auto text = OnSmall("Birch", arguments).output;
  EXPECT_THAT(text, HasSubstr("\n" + summary + "\n\ndiblock 1 "));
  const auto custom = SvgOnSmall("Birch", {"map", "installed", "--run", "13000", "--custom-mask", "0x3001"});
  EXPECT_THAT(custom, HasSubstr("diblocks 1, 13-14, custom mask: diblocks 1, 13-14<"));
  EXPECT_THAT(SvgOnSmall("Birch", {"map", "installed", "--run", "13008", "--use-mask"}),
              HasSubstr(", no good-diblock mask is stored<"));
  EXPECT_THAT(SvgOnSmall("Alder", {"map", "installed", "--run", "11002", "--use-mask"}),
              HasSubstr(", diblock 4, no mask, for the near detector has none<"));
  EXPECT_THAT(SvgOnSmall("Birch", {"map", "installed", "--run", "5"}),
              HasSubstr(">run 5: simulated, diblocks 1-"));
  EXPECT_THAT(SvgOnSmall("Birch", {"map", "installed", "--run", "13015"}),
              HasSubstr(", configuration 9999, "));
}

TEST(MapPicture, SaysOfDiblocksWithoutBoardsWhetherTheyAreMasked) {
  const Arguments arguments{"map", "enabled", "--run", "13010", "--analysis-mask"};
  const auto readout = Parsed(SvgOnSmall("Birch", arguments));
  EXPECT_TRUE(Says(readout, "diblock 10 (masked)"));
  EXPECT_TRUE(Says(readout, "diblock 11"));
  const auto geometry = Parsed(SvgOnSmall("Birch", With(arguments, {"--view", "geometry"})));
  EXPECT_EQ(geometry.select_nodes("//text[.='masked']").size(), 10U * 2 * 2);  // two views, each with a rim
  const auto partial = SvgOnSmall("Birch", {"map", "enabled", "--run", "13003"});
  EXPECT_THAT(partial, HasSubstr(">diblock 4 (not in the run)<"));
  EXPECT_THAT(partial, Not(HasSubstr("masked)")));
}

TEST(MapPicture, MarksAndListsWhatIsBeyondTheScaleAndShowsTheTrueExtremes) {
  const Arguments arguments{"map", "threshold", "--run", "13000"};
  const auto values = GoodValues(JsonOnSmall("Birch", arguments));
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  const auto one = Parsed(SvgOnSmall("Birch", arguments));
  EXPECT_EQ(one.select_nodes("//g[@class='beyond']/path[title]").size(), 1U);
  EXPECT_TRUE(Says(one, "1 board above the scale:"));
  EXPECT_TRUE(Says(one, "12/8/0: " + Fixed(*most, 1)));
  EXPECT_FALSE(one.select_nodes(("//g[@class='scale']/text[.='" + Fixed(*least, 1) + "']").c_str()).empty());
  EXPECT_FALSE(one.select_nodes(("//g[@class='scale']/text[.='" + Fixed(*most, 1) + "']").c_str()).empty());

  const auto many = Parsed(SvgOnSmall("Birch", With(arguments, {"--min", "40", "--max", "50"})));
  const auto below = std::count_if(values.begin(), values.end(), [](double value) { return value < 40; });
  const auto above = std::count_if(values.begin(), values.end(), [](double value) { return value > 50; });
  ASSERT_GT(below, 1);
  ASSERT_GT(above, 1);
  EXPECT_TRUE(Says(many, std::to_string(below) + " boards below the scale:"));
  EXPECT_TRUE(Says(many, std::to_string(above) + " boards above the scale:"));
  EXPECT_EQ(many.select_nodes("//g[@class='beyond']/path[title]").size(),
            static_cast<std::size_t>(below + above));
  EXPECT_FALSE(many.select_nodes("//g[@class='scale']/text[.='40.0']").empty());
  EXPECT_THAT(OnSmall("Birch", arguments).output,
              HasSubstr("\nabove the scale\n  12/8/0: " + Fixed(*most, 1) + "\n"));
}

TEST(MapPicture, TakesItsColoursFromThePalette) {
  const Arguments arguments{"map", "voltage", "--run", "13000"};
  EXPECT_THAT(SvgOnSmall("Birch", arguments), HasSubstr("stroke=\"#00224e\""));
  const auto viridis = SvgOnSmall("Birch", With(arguments, {"--palette", "viridis"}));
  EXPECT_THAT(viridis, HasSubstr("stroke=\"#440154\""));
  EXPECT_THAT(viridis, Not(HasSubstr("#00224e")));
  const auto difference = SvgOnSmall("Birch", {"map", "voltage", "--run", "13000", "--minus", "13001"});
  EXPECT_THAT(difference, HasSubstr("#f7f7f7"));
}

TEST(MapPicture, OfAFullDetectorStaysBelow700kB) {
  // The small sample has few boards with a value; each of all the places would take as much as these do.
  for (const auto* view : {"readout", "geometry"}) {
    for (const auto* quantity : {"temperature", "threshold", "gain"}) {
      const auto svg = SvgOnSmall("Birch", {"map", quantity, "--run", "13000", "--view", view});
      std::size_t bytes = 0;
      std::size_t boards = 0;
      static const std::regex kBoard(R"(<path d="M\d+ \d+v1"><title>[^<]*</title></path>\n)");
      for (std::sregex_iterator found(svg.begin(), svg.end(), kBoard); found != std::sregex_iterator();
           ++found) {
        bytes += static_cast<std::size_t>(found->length());
        ++boards;
      }
      ASSERT_GT(boards, 800U);
      EXPECT_LT(10752 * bytes / boards + 50000, 700000U) << quantity << ", " << view;
    }
  }
}

TEST(MapPicture, OfTwoRunsIsTheDifferenceOfWhatBothHave) {
  const auto one = JsonOnSmall("Birch", {"map", "temperature", "--run", "13001"});
  const auto other = JsonOnSmall("Birch", {"map", "temperature", "--run", "13003"});
  const auto difference = JsonOnSmall("Birch", {"map", "temperature", "--run", "13001", "--minus", "13003"});
  EXPECT_EQ(difference["minus"], 13003);
  ASSERT_EQ(difference["boards"].size(), one["boards"].size());
  int compared = 0;
  int notInOne = 0;
  for (std::size_t i = 0; i < one["boards"].size(); ++i) {
    const auto& a = one["boards"][i];
    const auto& b = other["boards"][i];
    const auto& made = difference["boards"][i];
    ASSERT_EQ(made["state"], a["state"]);
    ASSERT_EQ(made["minus_state"], b["state"]);
    ASSERT_EQ(made["value"], a["value"]);
    ASSERT_EQ(made["minus_value"], b["value"]);
    if (a["state"] == "good" && b["state"] == "good") {
      ++compared;
      ASSERT_NEAR(made["difference"].get<double>(), a["value"].get<double>() - b["value"].get<double>(),
                  6e-6);
    } else {
      ASSERT_TRUE(made["difference"].is_null());
      // The first reason of the one or the other.
      notInOne += a["state"] == "good" && b["state"] == "not in the run" ? 1 : 0;
    }
  }
  EXPECT_GT(compared, 500);
  const auto svg =
      SvgOnSmall("Birch", {"map", "temperature", "--run", "13001", "--minus", "13003", "--view", "geometry"});
  EXPECT_THAT(svg, HasSubstr(">Birch, run 13001 minus run 13003: APD temperature (°C)</text>"));
  EXPECT_THAT(svg, HasSubstr(">run 13001: 2015-08-01"));
  EXPECT_THAT(svg, HasSubstr(">run 13003: 2016-03-02"));
  EXPECT_GT(notInOne, 100);
  EXPECT_THAT(svg, HasSubstr(">not in one of the runs: " + std::to_string(notInOne) + "<"));
  EXPECT_THAT(svg, HasSubstr(": not in the run in 13003<"));
  const auto csv =
      OnSmall("Birch", {"map", "temperature", "--run", "13001", "--minus", "13003", "--format", "csv"});
  EXPECT_THAT(csv.output,
              testing::StartsWith("diblock,dcm,port,plane,module,state,minus_state,temperature,"
                                  "minus_temperature,difference\n1,1,0,0,0,good,not in the run,-"));
}

TEST(MapPicture, OfTwoRunsSaysInWhichABoardIsInstalled) {
  const Arguments arguments{"map", "installed", "--run", "11001", "--minus", "11000"};
  const auto text = OnSmall("Alder", arguments);
  EXPECT_EQ(text.status, 0);
  EXPECT_THAT(text.output, HasSubstr("\n1 board installed in run 11001 only, 1 in run 11000 only\n"));
  EXPECT_THAT(text.output, HasSubstr("  +      installed in run 11001 only: 1\n"));
  EXPECT_THAT(text.output, HasSubstr("  -      installed in run 11000 only: 1\n"));
  EXPECT_THAT(text.output, HasSubstr("  =      no change: 627\n"));
  const auto one = JsonOnSmall("Alder", {"map", "installed", "--run", "11001"});
  const auto other = JsonOnSmall("Alder", {"map", "installed", "--run", "11000"});
  const auto difference = JsonOnSmall("Alder", arguments);
  for (std::size_t i = 0; i < one["boards"].size(); ++i) {
    ASSERT_EQ(difference["boards"][i]["difference"],
              one["boards"][i]["value"].get<int>() - other["boards"][i]["value"].get<int>());
  }
  EXPECT_THAT(SvgOnSmall("Alder", arguments), HasSubstr("<title>1/1/0: installed in run 11001 only</title>"));
}

/// The colour of each dot of a picture of channels by plane and cell, read by another program, which checks
/// the sums of the images too; "-" for one that lets through what is behind it.
std::map<std::pair<int, int>, std::string> DotsOf(const std::string& file) {
  const std::string script = file + ".py";
  std::ofstream(script) << R"py(
import base64, re, struct, sys, zlib
for view, data in enumerate(re.findall('base64,([^"]*)', open(sys.argv[1]).read())):
    png, chunks, at = base64.b64decode(data), {}, 8
    assert png[:8] == b'\x89PNG\r\n\x1a\n'
    while at < len(png):
        size, name = struct.unpack('>I4s', png[at:at + 8])
        chunks[name] = png[at + 8:at + 8 + size]
        assert struct.unpack('>I', png[at + 8 + size:at + 12 + size])[0] == zlib.crc32(png[at + 4:at + 8 + size])
        at += size + 12
    width, height = struct.unpack('>II', chunks[b'IHDR'][:8])
    rows, colors = zlib.decompress(chunks[b'IDAT']), chunks[b'PLTE'].hex()
    assert len(rows) == height * (width + 1)
    for y in range(height):
        for x in range(width):
            i = rows[y * (width + 1) + 1 + x]
            print(2 * x + view, height - 1 - y, '#' + colors[6 * i:6 * i + 6] if i else '-')
)py";
  std::map<std::pair<int, int>, std::string> dots;
  FILE* const pipe = popen(("python3 " + script + ' ' + file).c_str(), "r");
  std::array<char, 64> line{};
  while (std::fgets(line.data(), line.size(), pipe) != nullptr) {
    std::istringstream words(line.data());
    std::pair<int, int> place;
    words >> place.first >> place.second >> dots[place];
  }
  EXPECT_EQ(pclose(pipe), 0);
  std::filesystem::remove(script);
  return dots;
}

TEST(MapPicture, OfChannelsHasADotForEach) {
  const std::string file = testing::TempDir() + "map_picture_channels.svg";
  const Arguments arguments{"map", "threshold", "--run", "11000", "--channels"};
  ASSERT_EQ(OnSmall("Alder", With(arguments, {"-o", file})).status, 0);
  auto dots = DotsOf(file);
  std::filesystem::remove(file);
  const auto map = JsonOnSmall("Alder", arguments);
  EXPECT_EQ(map["channels"].size(), 629U * 32);
  std::map<std::string, double> valueOf;
  int good = 0;
  for (const auto& channel : map["channels"]) {
    const auto& color = dots[{channel["plane"], channel["cell"]}];
    ASSERT_EQ(color == "-", channel["state"] != "good") << channel;
    if (channel["state"] != "good") { continue; }
    ++good;
    const double value = channel["value"];
    ASSERT_EQ(valueOf.emplace(color, value).first->second, value) << "two values have the colour " << color;
  }
  EXPECT_GT(good, 19000);
  EXPECT_GT(valueOf.size(), 15U);
}

TEST(MapPicture, OfChannelsShowsWhatTheLibraryAnswersForEach) {
  const auto csv =
      OnSmall("Alder", {"map", "threshold", "--run", "11000", "--channels", "--format", "csv"}).output;
  EXPECT_THAT(csv, testing::StartsWith("diblock,dcm,port,pixel,plane,cell,state,threshold\n"));
  LibraryRun library("Alder", 11000);
  std::istringstream lines(csv);
  std::string line;
  std::getline(lines, line);
  int good = 0;
  while (std::getline(lines, line)) {
    std::array<char, 64> state{};
    unsigned int plane = 0;
    unsigned int cell = 0;
    int value = 0;
    const int read =
        std::sscanf(line.c_str(), "%*u,%*u,%*u,%*u,%u,%u,%63[^,],%d", &plane, &cell, state.data(), &value);
    bool ok = false;
    const int threshold = library.history.GetThreshold(geo::OfflineChan(plane, cell), ok);
    ASSERT_EQ(std::string(state.data()) == "good", ok) << line;
    ASSERT_EQ(read, ok ? 4 : 3) << line;
    if (!ok) { continue; }
    ASSERT_EQ(value, threshold) << line;
    ++good;
  }
  EXPECT_GT(good, 19000);
}

TEST(MapPicture, IsRenderedWhereTheFilesEndingSaysSo) {
  const std::string folder = testing::TempDir();
  const std::map<std::string, std::string> beginnings{{"png", "\x89PNG\r\n"}, {"pdf", "%PDF-"}};
  for (const auto& [ending, beginning] : beginnings) {
    const std::string file = folder + "map_picture." + ending;
    const Arguments arguments{"map", "installed", "--run", "11000", "--view", "geometry", "-o", file};
    const auto result = OnSmall("Alder", arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, IsEmpty());
    std::ostringstream written;
    written << std::ifstream(file, std::ios::binary).rdbuf();
    EXPECT_EQ(written.str().substr(0, beginning.size()), beginning);
    EXPECT_GT(written.str().size(), 5000U);
    std::filesystem::remove(file);

    const EnvironmentVariable path("PATH", "/nonexistent");
    const auto without = OnSmall("Alder", arguments);
    EXPECT_EQ(without.status, 1);
    EXPECT_EQ(without.error,
              "runhistory: a picture as ." + ending +
                  " needs the program rsvg-convert, which is not there (Debian's package librsvg2-bin "
                  "has it); .svg needs nothing\n");
    EXPECT_FALSE(std::filesystem::exists(file));
  }
}

TEST(MapPicture, DrawsBothViewsOfEachDiblockAsText) {
  const auto result = OnSmall("Alder", {"map", "installed", "--run", "11000", "--view", "geometry"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output,
              HasSubstr("\ndiblock 4   view X, planes 192 to 212           view Y, planes 193 to 213\n"
                        "  cell 64   #########\n"
                        "  cell 32   ###########                         ###########\n"
                        "  cell 0    ###########                         ###########\n"));
  const auto end = result.output.find("\nboards\n");
  EXPECT_EQ(std::count(result.output.begin(), result.output.begin() + static_cast<std::ptrdiff_t>(end), '#'),
            626);
}

TEST(MapPicture, RefusesOptionsThatDoNotGoTogether) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"installed", "--min", "3"}, "installed is yes or no and has no scale for --min and --max"},
      {{"gain", "--min", "3", "--max", "3"}, "--min must be less than --max"},
      {{"gain", "--channels", "--view", "readout"}, "channels are drawn by plane and cell: --view geometry"},
      {{"gain", "--channels"},
       "a map of channels is no text; --format or the file's ending chooses svg, png, pdf, csv or json"},
      {{"gain", "--minus", "13000"}, "the run differs from itself in nothing; --minus takes another"},
      {{"gain", "-o", "map.gif"},
       "\"map.gif\" ends in none of .txt, .svg, .png, .pdf, .csv and .json; --format names the form"}};
  for (const auto& [arguments, reason] : cases) {
    const auto result = OnSmall("Birch", With({"map", "--run", "13000"}, arguments));
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.output, IsEmpty());
    EXPECT_EQ(result.error, "runhistory: " + reason + "\n");
  }
  EXPECT_EQ(OnSmall("Birch", {"map", "gain", "--run", "13000", "--min", "nan"}).status, 2);
  EXPECT_EQ(OnSmall("Birch", {"map", "gain", "--run", "13000", "--palette", "jet"}).status, 2);
  const auto missing = OnSmall("Birch", {"map", "gain", "--run", "13000", "--minus", "14999"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.output, IsEmpty());
  EXPECT_THAT(missing.error, HasSubstr("run 14999 of Birch: there is no such run\n"));
}

}  // namespace
}  // namespace brio::test
