#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "RunHistory/HardwareRecords.h"
#include "experiment/DAQChannelMap.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

/// Diblock, DCM and port of a board that the small sample has, and its first pixel's channel.
const dbi::HardwareLocation kBoard{2, 2, 3, 15};
constexpr unsigned int kPixel = 17;

unsigned int Channel() {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  return map.encodeDChan(kBoard.detector, kBoard.diblock, kBoard.dcm, kBoard.port, kPixel);
}

TEST(ChannelVerb, SaysWhatTheLibrarySays) {
  const auto answer = JsonOnSmall("Birch", {"channel", "2/3/15/17", "--run", "13000"});
  ASSERT_EQ(answer["channels"].size(), 1U);
  const auto& shown = answer["channels"][0];
  LibraryRun library("Birch", 13000);
  bool ok = false;
  const unsigned int channel = Channel();
  EXPECT_EQ(shown["channel"], channel);
  EXPECT_EQ(shown["installed"], library.history.HasAPD(channel));
  EXPECT_EQ(shown["threshold"], library.history.GetThreshold(channel, ok));
  ASSERT_TRUE(ok);
  EXPECT_EQ(shown["gain"].get<float>(), library.history.GetPixelGain(channel, ok));
  const auto feb = library.history.GetFEB(channel, ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(shown["enabled"], true);
  EXPECT_EQ(shown["voltage"], feb.voltage);
  EXPECT_EQ(shown["temperature"].get<float>(), feb.temperature);
  const auto& [board, apd] = dbi::gLocToFA.at(kBoard);
  EXPECT_EQ(shown["feb"], board.serial);
  EXPECT_EQ(shown["apd"], apd.serial);
  EXPECT_FALSE(shown.contains("why"));
}

TEST(ChannelVerb, TakesThreeWaysOfNamingAChannel) {
  std::string first;
  for (const auto& name : {std::string("2/3/15/17"), std::to_string(Channel()), std::string("94,145")}) {
    const auto result = OnSmall("Birch", {"channel", name, "--run", "13000"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("  readout       diblock 2, DCM 3, port 15, pixel 17 (dcm-2-02-03)\n"
                                         "  offline       plane 94, cell 145\n"));
    if (first.empty()) { first = result.output; }
    EXPECT_EQ(result.output, first);
  }
}

TEST(ChannelVerb, AnswersForChannelsFromStandardInput) {
  const auto arguments =
      OnDatabases(server::Template("small"), "Birch", {"channel", "--run", "13000", "--json"});
  const auto result = RunHistoryCommand(arguments, "2/3/15/17\n\n 94,145 \r\n");
  EXPECT_EQ(result.status, 0);
  const auto answer = nlohmann::json::parse(result.output);
  ASSERT_EQ(answer["channels"].size(), 2U);
  EXPECT_EQ(answer["channels"][0], answer["channels"][1]);
  const auto wrong = RunHistoryCommand(arguments, "2/3/15/17\nnonsense\n");
  EXPECT_EQ(wrong.status, 2);
  EXPECT_EQ(nlohmann::json::parse(wrong.output)["channels"].size(), 1U);
  EXPECT_THAT(wrong.error, HasSubstr("runhistory: line 2: channel \"nonsense\": it is no DAQ channel id"));
}

TEST(ChannelVerb, GivesTheFirstReasonWhyAValueIsMissing) {
  const std::vector<std::pair<Arguments, std::string>> cases{
      {{"Birch", "13000", "12/2/15/0"}, "threshold     not known: nothing is installed on the port\n"},
      {{"Birch", "13000", "12/2/0/0"}, "APD           not known: no APD with test results was installed"},
      {{"Birch", "13000", "12/8/63/0"},
       "voltage       not known: the DAQ configuration does not enable the board\n"},
      {{"Birch", "13000", "12/8/42/0"},
       "enabled       no: the DAQ configuration does not enable the pixel\n"},
      {{"Birch", "13000", "12/8/42/0"},
       "threshold     not known: the DAQ configuration does not enable the pixel\n"},
      {{"Birch", "13003", "2/3/15/17"}, "installed     not known: diblock 2 is not in the run\n"},
      {{"Birch", "13016", "2/7/15/17"}, "gain          not known: DCM 7 of diblock 2 is not in the run\n"},
      {{"Birch", "5", "2/3/15/17"}, "FEB           not known: a simulated run has no real hardware\n"},
      {{"Alder", "11000", "2/1/1/17"}, "gain          not known: gains are recorded for Birch only\n"},
      {{"Cedar", "12000", "1/1/1/17"},
       "installed     not known: no hardware is recorded for this detector\n"}};
  for (const auto& [where, reason] : cases) {
    const auto result = OnSmall(where[0], {"channel", where[2], "--run", where[1]});
    EXPECT_EQ(result.status, 0) << reason;
    EXPECT_THAT(result.output, HasSubstr(reason));
  }
}

TEST(ChannelVerb, SaysWhenTheMaskLeavesTheDiblockOut) {
  const auto result = OnSmall("Birch", {"channel", "2/3/15/17", "--run", "13000", "--custom-mask", "0x3ffd"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  diblock       bad by the mask\n"));
  EXPECT_THAT(
      result.output,
      HasSubstr("\n  threshold     not known: diblock 2 is masked: the good-diblock mask leaves it out\n"));
}

TEST(ChannelVerb, OfARunWithoutConfigurationAnswersTheRestWithStatusOne) {
  const auto result = OnSmall("Birch", {"channel", "2/3/15/17", "--run", "13015"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, HasSubstr("\n  installed     yes\n"));
  EXPECT_THAT(result.output, HasSubstr("\n  enabled       not known: there is no configuration 9999"));
}

TEST(ChannelVerb, OfAMissingRunOrADeadServerHasNoAnswer) {
  const auto missing = OnSmall("Birch", {"channel", "2/3/15/17", "--run", "14999", "--json"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.output, IsEmpty());
  EXPECT_THAT(missing.error, HasSubstr("runhistory: run 14999 of Birch: there is no such run\n"));
  const auto dead = RunHistoryCommand(
      {"channel", "2/3/15/17", "--detector", "Birch", "--run", "13000", "--database", "host=/nonexistent"});
  EXPECT_EQ(dead.status, 1);
  EXPECT_THAT(dead.output, IsEmpty());
  EXPECT_THAT(dead.error, HasSubstr("runhistory: run 13000 of Birch: connection to server on socket"));
}

nlohmann::json OneChannel(const nlohmann::json& answer) { return answer["channels"].at(0); }

TEST(ChannelVerb, SaysThatGainsOfHighDiblocksAreLeftOutOfAPartialRun) {
  const auto partial = OneChannel(JsonOnSmall("Birch", {"channel", "12/1/59/5", "--run", "13003"}));
  const auto whole = OneChannel(JsonOnSmall("Birch", {"channel", "12/1/59/5", "--run", "13004"}));
  EXPECT_TRUE(partial["gain"].is_null());
  EXPECT_EQ(partial["status"]["gain"], "left out");
  EXPECT_THAT(partial["why"]["gain"].get<std::string>(),
              HasSubstr("the run has 10 diblocks, and gains of a diblock with a higher number are left out"));
  EXPECT_EQ(whole["status"]["gain"], "known");
  EXPECT_EQ(partial["measured_gain"], whole["gain"]);
}

TEST(ChannelVerb, ShowsTheMeasuredGainBesideTheOneThatReplacesIt) {
  const auto replaced = OneChannel(JsonOnSmall("Birch", {"channel", "12/1/0/5", "--run", "13004"}));
  EXPECT_EQ(replaced["gain"], 100);
  EXPECT_EQ(replaced["status"]["gain"], "replaced");
  EXPECT_EQ(replaced["measured_gain"].dump(), "89.9");
  const auto text = OnSmall("Birch", {"channel", "12/1/0/5", "--run", "13004"}).output;
  EXPECT_THAT(text,
              HasSubstr("\n  gain          100: 100 stands for the measured gains, whose mean is 89.90"));
  EXPECT_THAT(text, HasSubstr(" and out of range; measured: 89.9\n"));
  const auto kept = OneChannel(JsonOnSmall("Birch", {"channel", "12/1/15/5", "--run", "13004"}));
  EXPECT_EQ(kept["gain"], 110);
  EXPECT_EQ(kept["status"]["gain"], "known");
}

TEST(ChannelVerb, DoesNotShowTheGainsOfAnotherAPD) {
  const auto shown = OneChannel(JsonOnSmall("Birch", {"channel", "12/2/42/5", "--run", "13004"}));
  EXPECT_TRUE(shown["gain"].is_null());
  EXPECT_EQ(shown["status"]["gain"], "never measured");
  EXPECT_THAT(shown["why"]["gain"].get<std::string>(), HasSubstr("no gain was measured of the APD"));
}

TEST(ChannelVerb, DoesNotShowTheTemperatureOfThePortBefore) {
  const ScratchDatabases databases("small");
  databases.Execute(
      "UPDATE slowcontrol.apd_settings SET temperature = NULL WHERE dcm_name = 'dcm-2-02-03' AND port = 15");
  const auto arguments = OnDatabases(databases.Template(), "Birch",
                                     {"channel", "2/3/15/17", "2/3/42/17", "--run", "13000", "--json"});
  const auto answer = nlohmann::json::parse(RunHistoryCommand(arguments).output);
  const auto& channel = answer["channels"].at(0);
  EXPECT_TRUE(channel["temperature"].is_null());
  EXPECT_EQ(channel["status"]["temperature"], "not recorded");
  EXPECT_EQ(channel["why"]["temperature"], "it was never recorded for this configuration");
  EXPECT_EQ(channel["status"]["voltage"], "known");
  EXPECT_EQ(answer["channels"].at(1)["status"]["temperature"], "known");
}

TEST(ChannelVerb, RefusesTextsThatAreNoChannel) {
  for (const auto* text : {"", "foo", "1,2,3", "1/2/3", "66,", "/1/1/1", "1/1/1/32", "15/1/1/1x", "99/1/1/1",
                           "896,0", "0,384", "4294967296", "276889873", "0x"}) {
    const auto result = RunHistoryCommand({"channel", text, "--detector", "Birch", "--run", "5"});
    EXPECT_EQ(result.status, 2) << text;
    EXPECT_THAT(result.output, IsEmpty()) << text;
    EXPECT_THAT(result.error, HasSubstr("channel \"" + std::string(text) + "\": "));
  }
}

TEST(ChannelVerb, TakesAChannelAtWhichNothingIsReadOut) {
  const auto result = RunHistoryCommand({"channel", "15/1/1/1", "--detector", "Birch", "--run", "5"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("\n  offline       nothing is read out there\n"));
}

TEST(ChannelVerb, TakesTheNamesThatItAndMessagesPrint) {
  const auto wanted = OnSmall("Birch", {"channel", "2/1/1/17", "--run", "13000"}).output;
  ASSERT_THAT(wanted, testing::HasSubstr("(dcm-2-02-01)"));
  for (const auto* name : {"dcm-2-02-01/1/17", "dcm-2-02-01-01/17", "dcm-2-2-1-1/17"}) {
    const auto result = OnSmall("Birch", {"channel", name, "--run", "13000"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, wanted);
  }
  for (const auto* name : {"dcm-2-02-01", "dcm-2-02-01/1", "dcm-2-02/1/17", "dcm-2-02-01-x/17", "dcm-"}) {
    EXPECT_EQ(OnSmall("Birch", {"channel", name, "--run", "13000"}).status, 2) << name;
  }
  EXPECT_EQ(OnSmall("Birch", {"channel", "dcm-1-02-01/1/17", "--run", "13000"}).error,
            "runhistory: channel \"dcm-1-02-01/1/17\": it is a DCM of detector number 1\n");
}

}  // namespace
}  // namespace brio::test
