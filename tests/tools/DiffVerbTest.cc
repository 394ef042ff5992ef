#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

using Names = std::vector<std::string>;

TEST(DiffVerb, OfARunWithItselfFindsNoChange) {
  const auto result = OnSmall("Birch", {"diff", "13002", "13002"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, testing::MatchesRegex("Runs 13002 and 13002 of Birch\n"
                                                   "  DCMs            no change\n"
                                                   "  event builders  no change\n"
                                                   "  installed       no change\n"
                                                   "  enabled         no change\n"
                                                   "  thresholds      0 of [0-9]+ differ\n"
                                                   "  FEB serials     0 of [0-9]+ boards differ\n"
                                                   "  APD serials     0 of [0-9]+ boards differ\n"
                                                   "  measured gains  0 of [0-9]+ boards differ\n"
                                                   "  voltages        0 of [0-9]+ boards differ\n"
                                                   "  temperatures    0 of [0-9]+ boards differ\n"));
}

TEST(DiffVerb, TellsChangesOfTheTopology) {
  const auto changed = JsonOnSmall("Birch", {"diff", "13036", "13037"});
  EXPECT_EQ(changed["event_builders"]["only_before"].size(), 1U);
  EXPECT_TRUE(changed["event_builders"]["only_after"].empty());
  const auto withoutDCM = OnSmall("Birch", {"diff", "13024", "13025"});
  EXPECT_EQ(withoutDCM.status, 0);
  EXPECT_THAT(withoutDCM.output, HasSubstr("\n  DCMs            1 gone, 0 new\n    only in 13024: 7/3\n"));
  EXPECT_THAT(withoutDCM.output, HasSubstr("\n  configuration   1002 -> 1003\n"));
  EXPECT_THAT(withoutDCM.output, HasSubstr("\n  active channels 344064 -> 342016\n"));
}

TEST(DiffVerb, TellsWhichBoardsCameAndWent) {
  const auto changed = JsonOnSmall("Alder", {"diff", "11000", "11001"});
  EXPECT_EQ(changed["installed"]["only_before"], Names{"1/1/3"});
  EXPECT_EQ(changed["installed"]["only_after"], Names{"1/1/0"});
}

TEST(DiffVerb, CountsThresholdsAndNamesEachWithFull) {
  const Arguments arguments{"diff", "13000", "13001"};
  auto full = arguments;
  full.emplace_back("--full");
  const auto counted = JsonOnSmall("Birch", arguments);
  const auto named = JsonOnSmall("Birch", full);
  EXPECT_FALSE(counted.contains("thresholds"));
  ASSERT_EQ(named["thresholds"].size(), counted["thresholds_changed"]);
  EXPECT_GT(named["thresholds"].size(), 20000U);
  const auto& first = named["thresholds"][0];
  const auto thresholdIn = [&](const std::string& configuration) {
    return std::stoi(server::Value(
        "small_birch", "SELECT threshold FROM daqconfig.pixel_thresholds WHERE config_id = " + configuration +
                           " AND dcm_name = 'dcm-2-" + (first["diblock"] < 10 ? "0" : "") +
                           first["diblock"].dump() + "-" + (first["dcm"] < 10 ? "0" : "") +
                           first["dcm"].dump() + "' AND port = " + first["port"].dump() +
                           " AND pixel = " + first["pixel"].dump()));
  };
  EXPECT_EQ(first["before"], thresholdIn("1001"));
  EXPECT_EQ(first["after"], thresholdIn("1002"));
  const auto all = OnSmall("Birch", full).output;
  const auto text = all.substr(0, all.find("\n  FEB serials ") + 1);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n') -
                std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(text.find("\n    1/1/")),
                           '\n') -
                1,
            static_cast<std::ptrdiff_t>(named["thresholds"].size()));
}

TEST(DiffVerb, CountsEnabledBoardsOfBothRuns) {
  const auto changed = JsonOnSmall("Birch", {"diff", "13000", "13001"});
  const auto statesOf = [](const std::string& run) {
    std::map<std::string, bool> enabled;
    const auto map = JsonOnSmall("Birch", {"map", "enabled", "--run", run});
    for (const auto& board : map["boards"]) {
      if (board["state"] == "not installed") { continue; }
      enabled[board["diblock"].dump() + "/" + board["dcm"].dump() + "/" + board["port"].dump()] =
          board["value"];
    }
    return enabled;
  };
  const auto before = statesOf("13000");
  const auto after = statesOf("13001");
  Names gone;
  Names come;
  for (const auto& [board, wasEnabled] : before) {
    const auto found = after.find(board);
    if (found == after.end() || found->second == wasEnabled) { continue; }
    (wasEnabled ? gone : come).push_back(board);
  }
  ASSERT_FALSE(gone.empty());
  ASSERT_FALSE(come.empty());
  EXPECT_THAT(changed["enabled"]["only_before"].get<Names>(), testing::UnorderedElementsAreArray(gone));
  EXPECT_THAT(changed["enabled"]["only_after"].get<Names>(), testing::UnorderedElementsAreArray(come));
}

TEST(DiffVerb, WithASimulatedRunComparesTheTopology) {
  const auto result = OnSmall("Birch", {"diff", "13003", "5"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  kind            real -> simulated\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  DCMs            0 gone, 48 new\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  thresholds      not compared: a simulated run has no DAQ"));
  EXPECT_THAT(result.output, testing::Not(HasSubstr("0 of 0")));
  const auto json = JsonOnSmall("Birch", {"diff", "13003", "5"});
  EXPECT_THAT(json["not_compared"].get<std::string>(), HasSubstr("a simulated run has no DAQ configuration"));
  EXPECT_FALSE(json.contains("thresholds_compared"));
}

TEST(DiffVerb, TellsChangesOfTimesMaskPOTAndDataQuality) {
  const auto facts = JsonOnSmall("Birch", {"diff", "13002", "13010"})["facts"];
  EXPECT_EQ(facts["started"]["before"], "2016-03-01 03:00:00 UTC");
  EXPECT_EQ(facts["good diblocks"]["before"], "##############");
  EXPECT_EQ(facts["good diblocks"]["after"], "######-##-####");
  EXPECT_TRUE(facts.contains("POT"));
  EXPECT_EQ(JsonOnSmall("Birch", {"diff", "13004", "13002"})["facts"]["stopped"]["before"], "not recorded");
  const auto nothing = JsonOnSmall("Birch", {"diff", "13002", "13008"})["facts"];
  EXPECT_EQ(nothing["data quality"]["after"], "no records");
  EXPECT_EQ(nothing["good diblocks"]["after"], "not known: No mask found in DB!");
}

TEST(DiffVerb, TellsWhichSerialsGainsVoltagesAndTemperaturesDiffer) {
  const auto changed = JsonOnSmall("Birch", {"diff", "13000", "13040", "--full"});
  const auto serials = [](const std::string& run) {
    std::map<std::string, std::string> found;
    const auto shown =
        JsonOnSmall("Birch", {"channel", "1/1/0/0", "1/1/1/0", "1/1/15/0", "1/2/0/0", "--run", run});
    for (const auto& channel : shown["channels"]) {
      found["1/" + channel["dcm"].dump() + "/" + channel["port"].dump()] = channel["apd"];
    }
    return found;
  };
  const auto old = serials("13000");
  const auto now = serials("13040");
  std::map<std::string, std::string> told;
  for (const auto& board : changed["apd_serials"]["boards"]) {
    told[board["board"]] = board["before"];
  }
  EXPECT_EQ(told.size(), changed["apd_serials"]["changed"]);
  EXPECT_GT(told.size(), 100U);
  EXPECT_LT(told.size(), changed["apd_serials"]["compared"]);
  for (const auto& [board, serial] : old) {
    EXPECT_EQ(told.count(board) == 1, serial != now.at(board)) << board;
  }
  EXPECT_GT(changed["measured_gains"]["changed"], 100);
  EXPECT_EQ(changed["voltages"]["boards"].size(), changed["voltages"]["changed"]);
}

TEST(DiffVerb, SaysWhichRunCannotBeHad) {
  const auto missing = OnSmall("Birch", {"diff", "14998", "14999"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.output, IsEmpty());
  EXPECT_THAT(missing.error, HasSubstr("runhistory: run 14998 of Birch: there is no such run\n"));
  EXPECT_THAT(missing.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
  const auto unconfigured = OnSmall("Birch", {"diff", "13000", "13015"});
  EXPECT_EQ(unconfigured.status, 1);
  EXPECT_THAT(unconfigured.error, HasSubstr("run 13015 of Birch: there is no configuration 9999"));
}

}  // namespace
}  // namespace brio::test
