// Numbers that two verbs give of the same thing, over all runs of the sample.
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
