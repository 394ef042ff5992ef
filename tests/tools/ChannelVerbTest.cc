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
      {{"Birch", "13003", "2/3/15/17"},
       "installed     not known: diblock 2 is not in the run, or is masked\n"},
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
  EXPECT_THAT(result.output,
              HasSubstr("\n  threshold     not known: diblock 2 is not in the run, or is masked"));
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

}  // namespace
}  // namespace brio::test
