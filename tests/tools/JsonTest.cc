// --json is JSON, from every verb, with times that carry their zone and numbers as they were stored.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(JsonOfSchema, HasTheStatementsOfTheTextEachByItself) {
  for (const auto& more : {Arguments{}, Arguments{"--hardware", "--indexes"}}) {
    Arguments arguments{"schema"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const std::string text = RunHistoryCommand(arguments).output;
    arguments.emplace_back("--json");
    const auto result = RunHistoryCommand(arguments);
    EXPECT_EQ(result.status, 0);
    const auto answer = nlohmann::json::parse(result.output);
    std::size_t statements = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      if (line.rfind("CREATE ", 0) == 0 || line.rfind("ALTER ", 0) == 0) { ++statements; }
    }
    EXPECT_GT(statements, 10U);
    EXPECT_EQ(answer["statements"].size(), statements);
    for (const auto& statement : answer["statements"]) {
      EXPECT_THAT(statement.get<std::string>(), AllOf(EndsWith(";"), Not(HasSubstr("--"))));
      EXPECT_THAT(statement.get<std::string>(), testing::AnyOf(StartsWith("CREATE "), StartsWith("ALTER ")));
    }
  }
}

TEST(JsonOfDump, HasWhatTheTextHas) {
  const auto dump = JsonOnSmall("Birch", {"dump", "--run", "13000"});
  const auto text = OnSmall("Birch", {"dump", "--run", "13000"}).output;
  EXPECT_EQ(dump["run"], 13000);
  EXPECT_EQ(dump["start"], "2014-06-10T03:00:00Z");
  EXPECT_EQ(dump["stop"], "2014-06-10T11:50:00Z");
  const auto labelled = [&](const std::string& label, const nlohmann::json& value) {
    EXPECT_THAT(text, HasSubstr("\n" + label + value.dump() + "\n"));
  };
  labelled("Trig Tot           : ", dump["triggers"]);
  labelled("Num Active Channels: ", dump["active_channels"]);
  labelled("Num DCMs           : ", dump["live_dcms"]);
  ASSERT_EQ(dump["event_builders"].size(), 140U);
  for (const auto& name : dump["event_builders"]) {
    EXPECT_THAT(text, HasSubstr("\n\t" + name.get<std::string>() + "\n"));
  }
  EXPECT_EQ(dump["dcms"].size(), 168U);
  EXPECT_TRUE(JsonOnSmall("Birch", {"dump", "--run", "13004"})["stop"].is_null());
  const auto missing = OnSmall("Birch", {"dump", "--run", "14999", "--json"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.output, IsEmpty());
  EXPECT_THAT(missing.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
}

TEST(JsonOfChannels, IsAnEmptyListForNoInputAndHasTheReasonOfAFailure) {
  const auto none = OnSmall("Birch", {"channel", "--run", "13000", "--json"});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(nlohmann::json::parse(none.output),
            (nlohmann::json{{"detector", "Birch"}, {"run", 13000}, {"channels", nlohmann::json::array()}}));
  const auto incomplete = OnSmall("Birch", {"channel", "66,17", "--run", "13015", "--json"});
  EXPECT_EQ(incomplete.status, 1);
  const auto answer = nlohmann::json::parse(incomplete.output);
  EXPECT_EQ(answer["channels"].size(), 1U);
  EXPECT_EQ(answer["reason"], "there is no configuration 9999 in daqconfig.configurations");
}

TEST(JsonOfShow, HasNumbersAsTheyWereStored) {
  const ScratchDatabases databases("small", {"birch"});
  databases.Execute("UPDATE dataquality.dqsubruninfo SET miprate = 1.245 WHERE run = 13000");
  const auto result =
      RunHistoryCommand(OnDatabases(databases.Template(), "Birch", {"show", "--run", "13000", "--json"}));
  EXPECT_THAT(result.output, HasSubstr("\"mean_mip_rate\": 1.245,"));
}

}  // namespace
}  // namespace brio::test
