// Numbers that two verbs give of the same thing, over all runs of the sample.
#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

std::map<std::string, int> StatesOf(const nlohmann::json& map) {
  std::map<std::string, int> counts;
  for (const auto& board : map["boards"]) {
    ++counts[board["state"].get<std::string>()];
  }
  return counts;
}

/// The answer of a verb, also of one that could not have everything; null without any.
nlohmann::json AnswerOf(const std::string& detector, Arguments arguments) {
  arguments.emplace_back("--json");
  const auto result = OnSmall(detector, arguments);
  return result.output.empty() ? nlohmann::json() : nlohmann::json::parse(result.output);
}

bool Has(const nlohmann::json& answer, const char* key) {
  return answer.is_object() && answer.contains(key) && !answer[key].is_null();
}

class VerbsAgree : public testing::TestWithParam<std::pair<const char*, int>> {};

TEST_P(VerbsAgree, OnBoardsOfARun) {
  const std::string detector = GetParam().first;
  const std::string run = std::to_string(GetParam().second);
  const auto show = AnswerOf(detector, {"show", "--run", run});
  const auto installed = AnswerOf(detector, {"map", "installed", "--run", run});
  const auto enabled = AnswerOf(detector, {"map", "enabled", "--run", run});
  ASSERT_EQ(Has(show, "boards_installed"), !installed.is_null());
  if (!installed.is_null()) {
    auto states = StatesOf(installed);
    EXPECT_EQ(show["boards_installed"], states["good"]);
    EXPECT_EQ(show["board_places"], states["good"] + states["not installed"]);
  }
  if (!enabled.is_null()) {
    auto states = StatesOf(enabled);
    EXPECT_EQ(show["boards_enabled_installed"], states["good"]);
    EXPECT_EQ(show["boards_installed"], states["good"] + states["not enabled"]);
    EXPECT_GE(show["boards_enabled"], show["boards_enabled_installed"]);
  }
  if (!Has(show, "good_diblock_mask")) { return; }
  const auto mask = JsonOnSmall(detector, {"mask", "--run", run});
  EXPECT_EQ(show["good_diblock_mask"], mask["database"]["bits"]);
}

/// A time without what tells its zone.
std::string Bare(std::string time) {
  std::replace(time.begin(), time.end(), 'T', ' ');
  return time.substr(0, 19);
}

TEST_P(VerbsAgree, OnWhatARunIs) {
  const std::string detector = GetParam().first;
  const std::string run = std::to_string(GetParam().second);
  const auto show = AnswerOf(detector, {"show", "--run", run});
  const auto line = AnswerOf(detector, {"list", "--run", run}).at(0);
  EXPECT_EQ(line["run"], GetParam().second);
  for (const char* time : {"start", "stop"}) {
    if (Has(show, time)) { EXPECT_EQ(Bare(show[time]), Bare(line[time])); }
  }
  for (const char* key : {"type", "partition", "configuration", "subruns"}) {
    if (Has(show, key) && !line[key].is_null()) { EXPECT_EQ(show[key], line[key]); }
  }
  if (Has(show, "duration")) { EXPECT_EQ(show["duration"], line["duration_s"]); }
  if (Has(show, "diblocks")) { EXPECT_EQ(show["diblocks"].size(), line["diblocks"]); }
  EXPECT_EQ(Has(show, "pot"), !line["pot"].is_null());
  if (Has(show, "pot")) { EXPECT_EQ(show["pot"].get<float>(), line["pot"].get<float>()); }
}

TEST_P(VerbsAgree, OnExposure) {
  const std::string detector = GetParam().first;
  const std::string run = std::to_string(GetParam().second);
  const auto line = AnswerOf(detector, {"list", "--run", run}).at(0);
  const auto exposure = AnswerOf(detector, {"exposure", "--run", run});
  const auto& own = exposure["runs"].at(0);
  EXPECT_EQ(own["pot"].is_null(), line["pot"].is_null());
  EXPECT_EQ(own["live_time_s"], line["duration_s"]);
  const auto pot = AnswerOf(detector, {"pot", "--run", run});
  if (Has(pot, "pot")) {
    EXPECT_EQ(own["pot"], pot["pot"]);
    EXPECT_EQ(line["pot"].get<float>(), pot["pot"].get<float>());
  }
  const auto mask = JsonOnSmall(detector, {"mask", "--run", run});
  EXPECT_EQ(mask.is_null(), own["good_diblocks"].is_null());
  if (!mask.is_null()) { EXPECT_EQ(own["good_diblocks"], mask["database"]["diblocks"].size()); }
  if (own["counted"] == true) {
    EXPECT_EQ(exposure["total"]["pot"], own["pot"]);
    EXPECT_EQ(exposure["total"]["live_time_s"], own["live_time_s"]);
  }
}

TEST_P(VerbsAgree, OnExportedBoards) {
  const std::string detector = GetParam().first;
  const std::string run = std::to_string(GetParam().second);
  const auto show = AnswerOf(detector, {"show", "--run", run});
  const auto boards = AnswerOf(detector, {"export", "boards", "--run", run});
  if (!Has(show, "boards_installed")) { return; }
  int installed = 0;
  int enabled = 0;
  for (const auto& board : boards) {
    if (board["installed"] != true) { continue; }
    ++installed;
    enabled += board["enabled"] == true ? 1 : 0;
  }
  EXPECT_EQ(show["boards_installed"], installed);
  if (Has(show, "boards_enabled_installed")) { EXPECT_EQ(show["boards_enabled_installed"], enabled); }
}

std::vector<std::pair<const char*, int>> AllRuns() {
  std::vector<std::pair<const char*, int>> runs;
  for (int run = 13000; run <= 13040; ++run) {
    runs.emplace_back("Birch", run);
  }
  for (int run = 11000; run <= 11003; ++run) {
    runs.emplace_back("Alder", run);
  }
  runs.emplace_back("Cedar", 12000);
  return runs;
}

INSTANTIATE_TEST_SUITE_P(Sample, VerbsAgree, testing::ValuesIn(AllRuns()));

}  // namespace
}  // namespace brio::test
