// What the command makes of values that a database may hold and nobody expects.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include <pugixml.hpp>

#include "RunHistory/HardwareRecords.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Databases of a test's own with the small sample of one detector, and the command on them.
class OddData {
public:
  explicit OddData(std::string detector = "Birch")
      : detector_(std::move(detector)), databases_("small", {Lower(detector_)}) {}

  void Execute(const std::string& sql) const { databases_.Execute(sql, Lower(detector_)); }
  CommandResult Ask(const Arguments& arguments, const std::string& more = "") const {
    return RunHistoryCommand(OnDatabases(databases_.Template() + more, detector_, arguments));
  }
  nlohmann::json AskJson(Arguments arguments, const std::string& more = "") const {
    arguments.emplace_back("--json");
    const auto result = Ask(arguments, more);
    EXPECT_EQ(result.status, 0) << result.error;
    return nlohmann::json::parse(result.output);
  }

private:
  static std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
  }

  std::string detector_;
  ScratchDatabases databases_;
};

/// Gains and temperatures of far-detector run 13000 that are no numbers: the gain of one pixel of board
/// 2/3/15 is NaN, and two of board 2/4/15 are infinite with either sign; temperatures of boards of DCM 2/3 on
/// ports 0, 1 and 15 are infinity, -infinity and NaN.
class NotNumbers : public testing::Test {
protected:
  NotNumbers() {
    SetGain(3, 'A', 1, "NaN");
    SetGain(4, 'A', 1, "Infinity");
    SetGain(4, 'A', 2, "-Infinity");
    SetTemperature(0, "Infinity");
    SetTemperature(1, "-Infinity");
    SetTemperature(15, "NaN");
  }

  void SetGain(std::uint32_t dcm, char column, int row, const std::string& gain) {
    const std::string serial = SerialOn({2, 2, dcm, 15});
    const auto where = " WHERE right(apd_id, 7) = '" + serial + "' AND pixel_col = '" + column +
                       "' AND pixel_row = " + std::to_string(row);
    data_.Execute("UPDATE public.apd_pixel_m SET pixel_m = '" + gain + "'" + where);
  }
  void SetTemperature(int port, const std::string& temperature) {
    data_.Execute("UPDATE slowcontrol.apd_settings SET temperature = '" + temperature +
                  "' WHERE config_id = 1001 AND dcm_name = 'dcm-2-02-03' AND port = " + std::to_string(port));
  }
  /// The serial of the APD at a place.
  static std::string SerialOn(const dbi::HardwareLocation& place) {
    static const dbi::LocationMap places = [] {
      LibraryRun library("Birch", 13000);
      return dbi::gLocToFA;
    }();
    return places.at(place).second.serial;
  }

  OddData data_;
};

/// The boards of a map that are drawn as "no value", as "diblock/DCM/port".
std::vector<std::string> WithoutValue(const nlohmann::json& map) {
  std::vector<std::string> places;
  for (const auto& board : map["boards"]) {
    EXPECT_EQ(board["state"] == "good" || board["state"] == "replaced", board["value"].is_number()) << board;
    if (board["state"] != "not finite") { continue; }
    places.push_back(board["diblock"].dump() + "/" + board["dcm"].dump() + "/" + board["port"].dump());
  }
  return places;
}

std::vector<std::string> Without(std::vector<std::string> all, const std::vector<std::string>& some) {
  all.erase(std::remove_if(all.begin(), all.end(),
                           [&](const auto& one) { return std::count(some.begin(), some.end(), one) > 0; }),
            all.end());
  return all;
}

TEST_F(NotNumbers, AreDrawnAsBoardsWithoutAValue) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> quantities{
      {"gain", {"2/3/15", "2/4/15"}}, {"temperature", {"2/3/0", "2/3/1", "2/3/15"}}};
  for (const auto& [quantity, boards] : quantities) {
    SCOPED_TRACE(quantity);
    const Arguments map{"map", quantity, "--run", "13000"};
    const auto before = WithoutValue(JsonOnSmall("Birch", map));
    const auto after = WithoutValue(data_.AskJson(map));
    EXPECT_EQ(Without(after, before), boards);
    for (const auto* format : {"text", "csv", "svg"}) {
      SCOPED_TRACE(format);
      const auto result = data_.Ask({"map", quantity, "--run", "13000", "--format", format});
      EXPECT_EQ(result.status, 0) << result.error;
      EXPECT_THAT(result.output, AllOf(Not(HasSubstr("nan")), Not(HasSubstr("inf"))));
      const auto inLegend = "not finite: " + std::to_string(after.size());
      if (format == std::string("csv")) {
        EXPECT_THAT(result.output, HasSubstr("\n2,3,15,94,4,not finite,"));
      } else {
        EXPECT_THAT(result.output, HasSubstr(inLegend));
      }
      pugi::xml_document document;
      if (format == std::string("svg")) { EXPECT_TRUE(document.load_string(result.output.c_str())); }
    }
  }
}

TEST_F(NotNumbers, OfAChannelAreNotKnownAndSaySo) {
  // The test stand's first spot is pixel 0, its second pixel 4.
  const Arguments channels{"channel", "2/3/15/0", "2/3/15/1", "2/4/15/4", "2/3/1/1", "--run", "13000"};
  const auto text = data_.Ask(channels);
  EXPECT_EQ(text.status, 0) << text.error;
  EXPECT_THAT(text.output, HasSubstr("\n  gain          not known: it is recorded as nan\n"));
  EXPECT_THAT(text.output, HasSubstr("\n  gain          not known: it is recorded as -inf\n"));
  EXPECT_THAT(text.output, HasSubstr("\n  temperature   not known: it is recorded as nan\n"));
  EXPECT_THAT(text.output, HasSubstr("\n  temperature   not known: it is recorded as -inf\n"));
  const auto answer = data_.AskJson(channels);
  ASSERT_EQ(answer["channels"].size(), 4U);
  const auto& first = answer["channels"][0];
  EXPECT_TRUE(first["gain"].is_null());
  EXPECT_EQ(first["why"]["gain"], "it is recorded as nan");
  EXPECT_TRUE(first["temperature"].is_null());
  EXPECT_TRUE(answer["channels"][1]["gain"].is_number()) << "the other pixels of the board have theirs";
  EXPECT_EQ(answer["channels"][2]["why"]["gain"], "it is recorded as -inf");
}

TEST_F(NotNumbers, DoNotDisturbTheVerbsThatDoNotShowThem) {
  const Arguments show{"show", "--run", "13000"};
  const auto result = data_.Ask(show);
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.output, OnSmall("Birch", show).output);
  EXPECT_EQ(data_.AskJson(show), JsonOnSmall("Birch", show));
}

TEST_F(NotNumbers, AreNotCompared) {
  const Arguments arguments{"diff", "13000", "13001"};
  const auto odd = data_.AskJson(arguments);
  const auto ordinary = JsonOnSmall("Birch", arguments);
  EXPECT_EQ(odd["measured_gains"]["compared"], ordinary["measured_gains"]["compared"].get<int>() - 2);
  EXPECT_EQ(odd["temperatures"]["compared"], ordinary["temperatures"]["compared"].get<int>() - 3);
  EXPECT_EQ(odd["voltages"], ordinary["voltages"]);
}

TEST(NotNumbersOfARun, AreSpelledInTextAndNullInJson) {
  const OddData data;
  data.Execute("UPDATE beam.potbyrun SET npot = 'NaN'");
  data.Execute(
      "UPDATE dataquality.dqsubruninfo SET miprate = 'Infinity', numslc = 'NaN', trkfrac = '-Infinity'");
  const auto shown = data.Ask({"show", "--run", "13000"});
  EXPECT_EQ(shown.status, 0) << shown.error;
  EXPECT_THAT(shown.output, HasSubstr("\n  POT             nan\n"));
  EXPECT_THAT(shown.output, HasSubstr("mean MIP rate inf (version "));
  const auto json = data.AskJson({"show", "--run", "13000"});
  EXPECT_TRUE(json.at("pot").is_null());
  EXPECT_TRUE(json.at("data_quality").at("mean_mip_rate").is_null());
  EXPECT_EQ(data.Ask({"pot", "--run", "13000"}).output, "13000  nan\n");
  EXPECT_TRUE(data.AskJson({"pot", "--run", "13000"}).at("pot").is_null());
  const auto records = data.Ask({"dq", "--run", "13000"});
  EXPECT_EQ(records.status, 0);
  EXPECT_THAT(records.output, AllOf(HasSubstr(" inf "), HasSubstr(" nan "), HasSubstr(" -inf\n")));
  const auto record = data.AskJson({"dq", "--run", "13000"}).at("subruns").at(0);
  for (const auto* key : {"miprate", "numslc", "trkfrac"}) {
    EXPECT_TRUE(record.at(key).is_null()) << key;
  }
}

/// Text is UTF-8 for the library, whatever encoding a site's connections ask for.
TEST(TextOfAnotherEncoding, ArrivesConverted) {
  const OddData data;
  data.Execute(R"(UPDATE daq.runs SET runtype = U&'Pr\00E9lude' WHERE run = 13000)");
  data.Execute(
      R"(UPDATE daq.daqresourcesbyrun SET appname = U&'bnevb-\00E9' WHERE run = 13000 AND resource_type = 'bnevb')");
  for (const std::string encoding : {"", " client_encoding=LATIN1"}) {
    EXPECT_THAT(data.Ask({"show", "--run", "13000"}, encoding).output,
                HasSubstr("\n  type            Pr\xC3\xA9lude\n"));
    EXPECT_EQ(data.AskJson({"show", "--run", "13000"}, encoding)["type"], "Pr\xC3\xA9lude");
    EXPECT_EQ(data.AskJson({"show", "--run", "13000-13000"}, encoding)[0]["type"], "Pr\xC3\xA9lude");
    const auto changed = data.AskJson({"diff", "13000", "13001"}, encoding);
    EXPECT_EQ(changed["facts"]["type"]["before"], "Pr\xC3\xA9lude");
    EXPECT_EQ(changed["event_builders"]["only_before"][0], "bnevb-\xC3\xA9");
  }
}

/// A table, and what makes a name in it too short to cut.
struct ShortName {
  const char* name;
  const char* table;
  const char* sql;
};

void PrintTo(const ShortName& tested, std::ostream* stream) { *stream << tested.name; }

class ShortDCMName : public testing::TestWithParam<ShortName> {};

TEST_P(ShortDCMName, IsReportedWithItsTable) {
  const OddData data("Alder");
  data.Execute(GetParam().sql);
  const auto reason =
      "the " + std::string(GetParam().table) + " table has a DCM whose name is too short to hold its numbers";
  const auto said = "runhistory: run 11000 of Alder: " + reason + "\n";
  for (const auto& arguments :
       {Arguments{"show", "--run", "11000"}, Arguments{"dump", "--run", "11000"},
        Arguments{"map", "installed", "--run", "11000"}, Arguments{"channel", "2/1/1/17", "--run", "11000"},
        Arguments{"diff", "11000", "11000"}}) {
    SCOPED_TRACE(arguments.front());
    const auto result = data.Ask(arguments);
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr(said));
    EXPECT_THAT(result.output + result.error, Not(HasSubstr("basic_string")));
  }
  const auto checked = data.Ask({"check", "--run", "11000"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_THAT(checked.output, HasSubstr("failed: " + reason + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, ShortDCMName,
    testing::Values(
        ShortName{
            "Resources", "resources",
            "UPDATE daq.daqresourcesbyrun SET appname = 'dcm' WHERE run = 11000 AND resource_type = 'dcm'"},
        ShortName{"Positions", "hardware_position",
                  "UPDATE public.hardware_position SET dcm_name = 'dcm-1-02' WHERE dcm_port = 1"},
        ShortName{"PositionsWithoutAName", "hardware_position",
                  "UPDATE public.hardware_position SET dcm_name = NULL WHERE dcm_port = 1"}),
    [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace brio::test
