#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/snapshot/SavedFile.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

CommandResult Report(const std::string& detector, int run, const Arguments& more = {}) {
  Arguments arguments{"report", "--run", std::to_string(run)};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return OnSmall(detector, arguments);
}

std::string Between(const std::string& text, const std::string& begin, const std::string& end) {
  const auto from = text.find(begin);
  if (from == std::string::npos) { return {}; }
  const auto start = from + begin.size();
  return text.substr(start, text.find(end, start) - start);
}

/// What the script of a page draws from.
nlohmann::json DataOf(const std::string& page) {
  return nlohmann::json::parse(Between(page, "id=\"data\">", "</script>"));
}

/// A list as the data of a page have it: [first, step, count, …].
std::vector<int> Numbers(const nlohmann::json& steps) {
  std::vector<int> numbers;
  for (std::size_t i = 0; i + 2 < steps.size(); i += 3) {
    for (int n = 0; n < steps[i + 2]; ++n) {
      numbers.push_back(steps[i].get<int>() + n * steps[i + 1].get<int>());
    }
  }
  return numbers;
}

/// The boards of each state, by the data of a page.
std::map<std::string, int> StatesOf(const nlohmann::json& data, const nlohmann::json& quantity) {
  std::map<std::string, int> states;
  for (const int status : Numbers(quantity["statuses"])) {
    ++states[data["statuses"][static_cast<std::size_t>(status)].get<std::string>()];
  }
  return states;
}

std::set<std::string> Matches(const std::string& text, const std::string& expression) {
  const std::regex regex(expression);
  std::set<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    found.insert((*match)[1]);
  }
  return found;
}

std::string Contents(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(ReportVerb, CountsAndDrawsWhatMapsShow) {
  const auto result = Report("Birch", 13000);
  ASSERT_EQ(result.status, 0) << result.error;
  const auto data = DataOf(result.output);
  EXPECT_EQ(data["quantities"].size(), 6U);
  for (const auto& quantity : data["quantities"]) {
    const auto map = JsonOnSmall("Birch", {"map", quantity["name"], "--run", "13000"});
    std::map<std::string, int> states;
    std::vector<double> values;
    for (const auto& board : map["boards"]) {
      ++states[board["state"]];
      if (board["state"] == "good" && board["value"].is_number()) { values.push_back(board["value"]); }
    }
    EXPECT_EQ(StatesOf(data, quantity), states) << quantity["name"];
    if (quantity["yesNo"]) { continue; }
    ASSERT_EQ(quantity["values"].size(), values.size()) << quantity["name"];
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double steps = quantity["least"].get<double>() + quantity["values"][i].get<double>();
      ASSERT_NEAR(steps / std::pow(10, quantity["digits"].get<int>()), values[i], 0.051)
          << quantity["name"] << i;
    }
    for (const auto& [state, count] : states) {
      if (state == "good") { continue; }
      EXPECT_THAT(result.output, HasSubstr("</svg> " + state + ": " + std::to_string(count) + "</li>"));
    }
  }
}

TEST(ReportVerb, KnowsEachBoardsPlace) {
  const auto data = DataOf(Report("Alder", 11000).output);
  const auto boards = JsonOnSmall("Alder", {"map", "installed", "--run", "11000"})["boards"];
  const std::map<std::string, std::string> names{{"diblocks", "diblock"},
                                                 {"dcms", "dcm"},
                                                 {"ports", "port"},
                                                 {"planes", "plane"},
                                                 {"modules", "module"}};
  for (const auto& [list, name] : names) {
    const auto numbers = Numbers(data[list]);
    ASSERT_EQ(numbers.size(), boards.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      ASSERT_EQ(numbers[i], boards[i][name].get<int>()) << list << i;
    }
  }
}

TEST(ReportVerb, TellsWhatShowTells) {
  const auto page = Report("Birch", 13010).output;
  std::istringstream lines(OnSmall("Birch", {"show", "--run", "13010"}).output);
  std::string line;
  std::getline(lines, line);
  EXPECT_THAT(page, HasSubstr("<h1>" + line + "</h1>"));
  int facts = 0;
  while (std::getline(lines, line)) {
    std::string label = line.substr(2, 16);
    label.erase(label.find_last_not_of(' ') + 1);
    EXPECT_THAT(page, HasSubstr("<dt>" + label + "</dt><dd>" + line.substr(18) + "</dd>"));
    ++facts;
  }
  EXPECT_GT(facts, 15);
  EXPECT_THAT(page, HasSubstr("12 of 14 diblocks in the run are good"));
  EXPECT_THAT(
      page, HasSubstr(R"(<li class="bad"><span class="number">7</span> <span class="word">not good</span>)"));
}

TEST(ReportVerb, NamesWhatIsUnusualWithLinksToItsPlace) {
  const auto page = Report("Birch", 13000).output;
  const auto show = JsonOnSmall("Birch", {"show", "--run", "13000"});
  const int missing = show["board_places"].get<int>() - show["boards_installed"].get<int>();
  const int off = show["boards_installed"].get<int>() - show["boards_enabled_installed"].get<int>();
  EXPECT_THAT(page, HasSubstr("<h3>" + std::to_string(missing) + " boards are not installed</h3>"));
  EXPECT_THAT(page, HasSubstr("<h3>" + std::to_string(off) + " boards are not enabled</h3>"));
  const auto links = Matches(page, "<a href=\"#([^\"]*)\"");
  const auto places = Matches(page, "<rect x=[^>]* id=\"([^\"]*)\"");
  EXPECT_GT(links.size(), 50U);
  EXPECT_EQ(links, places);
  // By the sample some boards there are too warm, and most places of a DCM are empty.
  EXPECT_EQ(links.count("board-8-3-0"), 1U);
  EXPECT_EQ(links.count("dcm-12-2"), 1U);
}

TEST(ReportVerb, ComparesWithTheRunBeforeAsDiffDoes) {
  const auto page = Report("Birch", 13003).output;
  EXPECT_THAT(page, HasSubstr("What changed since run 13002"));
  const auto diff = JsonOnSmall("Birch", {"diff", "13002", "13003", "--full"});
  for (const auto& [name, values] : diff["facts"].items()) {
    EXPECT_THAT(
        page, HasSubstr("<tr><th scope=\"row\">" + name + "</th><td>" + values["before"].get<std::string>() +
                        "</td><td>" + values["after"].get<std::string>() + "</td></tr>"));
  }
  const auto count = [](const nlohmann::json& list) { return std::to_string(list.size()); };
  EXPECT_THAT(page, HasSubstr("<h3>" + count(diff["dcms"]["only_before"]) + " DCMs are gone</h3>"));
  EXPECT_THAT(
      page, HasSubstr("<h3>" + count(diff["installed"]["only_after"]) + " boards are newly installed</h3>"));
  EXPECT_THAT(page, HasSubstr("<h3>APD serials: " + diff["apd_serials"]["changed"].dump() + " of " +
                              diff["apd_serials"]["compared"].dump() + " boards differ</h3>"));
  EXPECT_THAT(page,
              HasSubstr(diff["apd_serials"]["known_in_one_only"].dump() + " are known in one run only"));
}

TEST(ReportVerb, HasTheDataQualityOfEachSubrun) {
  const auto page = Report("Birch", 13000).output;
  std::istringstream lines(OnSmall("Birch", {"dq", "--run", "13000"}).output);
  std::string line;
  std::getline(lines, line);
  std::getline(lines, line);
  int subruns = 0;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string number;
    words >> number;
    std::string cells;
    for (std::string word; words >> word;) {
      cells += "<td>" + word + "</td>";
    }
    EXPECT_THAT(Between(page, "<tr><th scope=\"row\">" + number + "</th>", "</tr>"), EndsWith(cells));
    ++subruns;
  }
  EXPECT_EQ(subruns, 20);
}

TEST(ReportVerb, ShowsTextsOfDatabasesAsTexts) {
  const ScratchDatabases databases("small");
  databases.Execute(
      "UPDATE daq.runs SET runtype = '<script>alert(1)</script>', shifter = '</script><b>', "
      "begin_comment = '\"{{title}}\" & ''{{{style}}}''' WHERE run = 13018");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"report", "--run", "13018"}));
  ASSERT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("<dd>&lt;script&gt;alert(1)&lt;/script&gt;</dd>"));
  EXPECT_THAT(result.output, HasSubstr("<dd>&lt;/script&gt;&lt;b&gt;</dd>"));
  EXPECT_THAT(result.output, HasSubstr("<dd>&quot;{{title}}&quot; &amp; &#39;{{{style}}}&#39;</dd>"));
  EXPECT_THAT(result.output, Not(HasSubstr("<script>alert")));
  EXPECT_EQ(Matches(result.output, "(</script>)").size(), 1U);
  EXPECT_NO_THROW(DataOf(result.output));
}

TEST(ReportVerb, AsksForNothingFromElsewhere) {
  const auto page = Report("Birch", 13000).output;
  EXPECT_THAT(page, HasSubstr("Content-Security-Policy\" content=\"default-src &#39;none&#39;;"));
  EXPECT_THAT(Matches(page, R"((\ssrc=|@import|url\([^#]|href="(?!#|data:,)))"), IsEmpty());
  // Tag by tag, since a regular expression's search goes as deep as a tag is long.
  for (auto tag = page.find('<'); tag != std::string::npos; tag = page.find('<', tag + 1)) {
    const auto text = page.substr(tag, page.find('>', tag) - tag);
    EXPECT_THAT(Matches(text, R"(\s(on[a-z]+=|style=))"), IsEmpty()) << text.substr(0, 200);
  }
}

TEST(ReportVerb, WritesAPageOfARunWithoutConfigurationAndSaysSo) {
  const ScratchFolder folder;
  const auto result = Report("Birch", 13015, {"--output", folder.Path("run.html")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 13015 of Birch: "));
  const auto page = Contents(folder.Path("run.html"));
  EXPECT_THAT(page, HasSubstr("<p class=\"verdict\">Not everything could be read: "));
  const auto data = DataOf(page);
  ASSERT_EQ(data["quantities"].size(), 1U);
  EXPECT_EQ(data["quantities"][0]["name"], "installed");
  EXPECT_THAT(page, HasSubstr("<p>Not compared: "));
}

TEST(ReportVerb, KnowsMaskedDiblocks) {
  const auto page = Report("Birch", 13010, {"--analysis-mask"}).output;
  EXPECT_THAT(page, HasSubstr("<h3>7680 boards are masked</h3>"));
  EXPECT_THAT(page, HasSubstr(R"(<a href="#diblock-1">diblock 1</a> all 768 boards)"));
  EXPECT_THAT(page, HasSubstr(R"(<li class="masked"><span class="number">1</span>)"));
}

TEST(ReportVerb, HasAPageOfASimulatedRun) {
  const auto result = Report("Alder", 5);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("A simulated run: a perfect detector, of which nothing is recorded."));
  EXPECT_EQ(DataOf(result.output)["quantities"].size(), 1U);
  EXPECT_THAT(result.output, HasSubstr("</svg> installed: 629</li>"));
}

TEST(ReportVerb, LeavesNoFileOfARunThatThereIsNot) {
  const ScratchFolder folder;
  const auto result = Report("Birch", 14999, {"--output", folder.Path("run.html")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runhistory: run 14999 of Birch: "));
  EXPECT_THAT(folder.Names(), IsEmpty());
}

/// A page without the part that says where it comes from.
std::string WithoutSources(const std::string& page) {
  const auto begin = page.find("<footer>");
  return page.substr(0, begin) + page.substr(page.find("</footer>"));
}

TEST(ReportVerb, SaysTheSameOfASavedRunAndWhereItComesFrom) {
  const std::vector<RunOfDetector> runs{{"Alder", 11000}};
  const ScratchFolder folder;
  const auto file = folder.Path("saved.brio");
  ASSERT_EQ(OnSmall("Alder", {"snapshot", "save", "--run", "11000-11003", "--output", file}).status, 0);
  const auto server = Report("Alder", 11001);
  const auto saved =
      RunHistoryCommand(OnDatabases("snapshot:" + file, "Alder", {"report", "--run", "11001"}));
  EXPECT_EQ(saved.status, 0) << saved.error;
  EXPECT_EQ(WithoutSources(saved.output), WithoutSources(server.output));
  EXPECT_THAT(server.output, HasSubstr("<dt>runs, hardware, DAQ configuration, slow controls</dt><dd>" +
                                       server::SocketFolder() + "/small_alder, PostgreSQL "));
  EXPECT_THAT(saved.output, HasSubstr("<dt>snapshot</dt><dd>" + file + ", format "));
  EXPECT_THAT(saved.output, HasSubstr("UTC from local/small_alder, by brio "));
}

TEST(ReportVerb, WritesAPageForEachRunOfARangeAndAnIndex) {
  const ScratchFolder folder;
  const auto result = OnSmall("Alder", {"report", "--run", "11000-11004", "--output", folder.Path("pages")});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.output, folder.Path("pages") + "/index.html: 4 runs\n");
  EXPECT_THAT(result.error, HasSubstr("runhistory: the runs table of Alder does not have 11004\n"));
  const auto index = Contents(folder.Path("pages/index.html"));
  EXPECT_EQ(Matches(index, "<tr><th scope=\"row\" data-sorted=\"\\d+\"><a href=\"([^\"]*)\">"),
            (std::set<std::string>{"11000.html", "11001.html", "11002.html", "11003.html"}));
  EXPECT_THAT(Contents(folder.Path("pages/11002.html")), HasSubstr("<a href=\"index.html\">All runs</a>"));
  const auto row = Between(index, "<a href=\"11000.html\">11000</a></th>", "</tr>");
  for (const auto* quantity : {"enabled", "threshold", "voltage", "temperature"}) {
    const auto history =
        JsonOnSmall("Alder", {"history", quantity, "--detector-mean", "--run", "11000-11000"});
    EXPECT_THAT(row, HasSubstr("\">" + history[0]["value"].dump() + "</td>")) << quantity;
  }
}

TEST(ReportVerb, NamesThePagesOfARangeInJSON) {
  const ScratchFolder folder;
  const auto answer =
      JsonOnSmall("Alder", {"report", "--run", "11000-11001", "--output", folder.Path("pages")});
  ASSERT_EQ(answer.size(), 2U);
  EXPECT_EQ(
      answer[1],
      (nlohmann::json{{"detector", "Alder"}, {"run", 11001}, {"page", folder.Path("pages/11001.html")}}));
}

TEST(ReportVerb, NeedsAFolderForARange) {
  const auto without = OnSmall("Alder", {"report", "--run", "11000-11001"});
  EXPECT_EQ(without.status, 2);
  EXPECT_EQ(without.error, "runhistory: the pages of a range of runs need a folder: --output FOLDER\n");
  const ScratchFolder folder;
  const auto file = folder.Path("file");
  std::ofstream(file) << "mine";
  const auto taken = OnSmall("Alder", {"report", "--run", "11000-11001", "--output", file});
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.error, HasSubstr("runhistory: cannot write " + file));
  EXPECT_EQ(Contents(file), "mine");
}

TEST(ReportVerb, StaysBelow500KilobytesForAWholeDetector) {
  const auto result =
      RunHistoryCommand(OnDatabases(server::Template("full"), "Birch", {"report", "--run", "13018"}));
  ASSERT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(DataOf(result.output)["boards"], 10752);
  EXPECT_GT(result.output.size(), 200'000U);
  EXPECT_LE(result.output.size(), 500'000U);
}

}  // namespace
}  // namespace brio::test
