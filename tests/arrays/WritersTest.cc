#include "arrays/Writers.h"

#include <limits>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/arrays/SampleRuns.h"

namespace brio::test {
namespace {

using arrays::Form;
using arrays::RecordWriter;
using arrays::Status;

template <class... What>
std::string Written(Form form, const What&... what) {
  std::ostringstream text;
  arrays::Write(text, form, what...);
  return text.str();
}

std::string OneRecord(Form form) {
  std::ostringstream text;
  RecordWriter writer(text, form);
  const auto add = [&] {
    writer.Add("gain", "gain_status", 1.245F, Status::Known);
    writer.Add("voltage_v", "voltage_status", 7, Status::NotRecorded);
    writer.Add("serial", std::string("a,\"b\"\n\x80"));
    writer.Add("odd", std::numeric_limits<float>::quiet_NaN());
    writer.Add("on", true);
  };
  writer.BeginNames();
  add();
  writer.EndNames();
  writer.Begin();
  add();
  writer.End();
  writer.Finish();
  return text.str();
}

TEST(Writers, WriteTheShortestNumbersStatusesAndEscapedTexts) {
  EXPECT_EQ(OneRecord(Form::CSV),
            "gain,gain_status,voltage_v,voltage_status,serial,odd,on\n"
            "1.245,known,,not recorded,\"a,\"\"b\"\"\n\x80\",,yes\n");
  const std::string object =
      "{\"gain\":1.245,\"gain_status\":\"known\",\"voltage_v\":null,\"voltage_status\":\"not recorded\","
      "\"serial\":\"a,\\\"b\\\"\\u000a\xEF\xBF\xBD\",\"odd\":null,\"on\":true}";
  EXPECT_EQ(OneRecord(Form::NDJSON), object + "\n");
  EXPECT_EQ(OneRecord(Form::JSON), "[\n" + object + "\n]\n");
}

TEST(Writers, ReplaceWhatIsNoUTF8) {
  const auto written = [](const std::string& text) {
    std::ostringstream stream;
    RecordWriter writer(stream, Form::NDJSON);
    writer.Begin();
    writer.Add("t", text);
    writer.End();
    writer.Finish();
    const auto all = stream.str();
    return all.substr(6, all.size() - 9);
  };
  const std::string no = "\xEF\xBF\xBD";
  for (const std::string text :
       {"\xC3\xA9", "\xE2\x82\xAC", "\xED\x9F\xBF", "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(written(text), text);
  }
  EXPECT_EQ(written("\xC0\xAF"), no + no);
  EXPECT_EQ(written("\xE0\x9F\xBF"), no + no + no);
  EXPECT_EQ(written("\xED\xA0\x80"), no + no + no);
  EXPECT_EQ(written("\xF4\x90\x80\x80"), no + no + no + no);
  EXPECT_EQ(written("\xE2\x82"), no + no);
  EXPECT_EQ(written("\xE9x"), no + "x");
}

TEST(Writers, GiveTimesTheirZone) {
  EXPECT_EQ(arrays::WithZone("2014-06-10 03:00:00"), "2014-06-10T03:00:00Z");
  EXPECT_EQ(arrays::WithZone("2014-06-10 03:00:00.25"), "2014-06-10T03:00:00.25Z");
  EXPECT_EQ(arrays::WithZone("2014-06-10 03:00:00+00"), "2014-06-10T03:00:00Z");
  EXPECT_EQ(arrays::WithZone("2014-06-10 03:00:00-05"), "2014-06-10 03:00:00-05");
  EXPECT_EQ(arrays::WithZone("infinity"), "infinity");
  EXPECT_EQ(arrays::WithZone(""), "");
}

TEST(Writers, WriteEveryBoardAndChannelInEveryForm) {
  const ArraysOfRun sample("Alder", 11000);
  const auto csv = Written(Form::CSV, sample.boards);
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 630);
  EXPECT_EQ(csv.rfind("run,diblock,dcm,port,plane,module,installed,installed_status,", 0), 0U);
  const auto boards = nlohmann::json::parse(Written(Form::JSON, sample.boards));
  ASSERT_EQ(boards.size(), 629U);
  EXPECT_EQ(boards[5]["voltage_v"], sample.boards.boards[5].voltage.value);
  const auto channels = nlohmann::json::parse(Written(Form::JSON, sample.channels, sample.boards));
  ASSERT_EQ(channels.size(), 629U * 32);
  for (std::size_t i = 0; i < channels.size(); ++i) {
    const auto& channel = sample.channels.channels[i];
    ASSERT_EQ(channels[i]["channel"], channel.place.daqChannel);
    ASSERT_EQ(channels[i]["threshold_status"], arrays::NameOf(channel.thresholdStatus));
    ASSERT_EQ(channels[i]["threshold_adc"].is_null(), channel.thresholdStatus != Status::Known);
  }
  const auto lines = Written(Form::NDJSON, sample.channels, sample.boards);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 629 * 32);
}

}  // namespace
}  // namespace brio::test
