#include "RunHistory/NumberText.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/RunHistory/DecimalCommaLocale.h"

namespace brio::dbi {
namespace {

/// The same value to the last bit, except that one "not a number" is as good as another.
bool Same(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) { return std::isnan(a) && std::isnan(b); }
  return std::memcmp(&a, &b, sizeof a) == 0;
}

const std::vector<std::string>& OddTexts() {
  static const std::vector<std::string> texts{"",
                                              " ",
                                              "\t\n\v\f\r 7",
                                              "-",
                                              "+",
                                              "+-1",
                                              "-+1",
                                              "--1",
                                              "- 1",
                                              "0",
                                              "-0",
                                              "+0",
                                              "007",
                                              "12abc",
                                              "abc12",
                                              "1 2",
                                              "1\t",
                                              " 1.5 ",
                                              "+1.5",
                                              "-1.5",
                                              ".5",
                                              "5.",
                                              "-.5",
                                              ".",
                                              "..5",
                                              "1.2.3",
                                              "1,5",
                                              "1e3",
                                              "1E3",
                                              "1e+3",
                                              "1e-3",
                                              "1e",
                                              "1e+",
                                              "1e+x",
                                              "e5",
                                              ".e5",
                                              "1e 3",
                                              "1.e3",
                                              "0x10",
                                              "0X1.8p3",
                                              "0x",
                                              "0xg",
                                              "0x.8",
                                              "-0x1p-2",
                                              "inf",
                                              "INF",
                                              "-inf",
                                              "+inf",
                                              "infinity",
                                              "Infinityx",
                                              "infi",
                                              "nan",
                                              "-nan",
                                              "NAN",
                                              "nan(",
                                              "nan(12)",
                                              "nanx",
                                              "1e308",
                                              "1e309",
                                              "-1e309",
                                              "1.7976931348623157e308",
                                              "1.7976931348623159e308",
                                              "2.2250738585072014e-308",
                                              "2.2250738585072011e-308",
                                              "4.9e-324",
                                              "5e-324",
                                              "2e-324",
                                              "-1e-400",
                                              "1e-400",
                                              "1e99999999999999999999",
                                              "0e99999999999999999999",
                                              "9007199254740993",
                                              "0.1",
                                              "0.30000000000000004",
                                              "3.4028235e38",
                                              "1d5",
                                              "1f",
                                              "1L",
                                              "\xC2\xA0"
                                              "1",
                                              "\xE2\x88\x92"
                                              "1",
                                              "1'000",
                                              "1.000.000",
                                              "100.0",
                                              "2147483647",
                                              "-2147483648"};
  return texts;
}

/// Mostly what numbers are made of, so that many texts are nearly numbers.
std::string RandomText(std::mt19937& random) {
  static const std::string characters = "00112345678999....--++eExXpP infa\t,";
  std::string text(random() % 14, ' ');
  for (auto& character : text) {
    character = characters[random() % characters.size()];
  }
  return text;
}

/// A number in one of the ways in which databases print them.
std::string RandomNumber(std::mt19937_64& random) {
  std::uint64_t bits = random();
  double value = 0;
  std::memcpy(&value, &bits, sizeof value);
  char text[400];
  const int digits = static_cast<int>(random() % 22);
  static const char* const formats[] = {"%.*g", "%.*e", "%.*G"};
  std::snprintf(text, sizeof text, formats[random() % 3], digits, value);
  return text;
}

/// What atoi says of a text whose number fits.
bool FitsInt(const std::string& text) {
  const long long value = std::strtoll(text.c_str(), nullptr, 10);
  return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

void ExpectReadAsByTheCLibrary(const std::string& text) {
  const double expected = std::atof(text.c_str());
  EXPECT_TRUE(Same(NumberIn(text.c_str()), expected))
      << '"' << text << "\": " << NumberIn(text.c_str()) << " rather than " << expected;
  if (FitsInt(text)) {
    EXPECT_EQ(IntegerIn(text), std::atoi(text.c_str())) << '"' << text << '"';
    EXPECT_EQ(IntegerIn(text.c_str()), std::atoi(text.c_str())) << '"' << text << '"';
  }
}

TEST(NumberText, ReadsOddTextsAsTheCLibraryDoes) {
  for (const auto& text : OddTexts()) {
    ExpectReadAsByTheCLibrary(text);
  }
}

TEST(NumberText, ReadsRandomTextsAsTheCLibraryDoes) {
  std::mt19937 random(20160301);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts every time
  for (int i = 0; i < 300'000 && !testing::Test::HasFailure(); ++i) {
    ExpectReadAsByTheCLibrary(RandomText(random));
  }
}

TEST(NumberText, ReadsNumbersOfAnySizeAsTheCLibraryDoes) {
  std::mt19937_64 random(20150801);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  for (int i = 0; i < 200'000 && !testing::Test::HasFailure(); ++i) {
    ExpectReadAsByTheCLibrary(RandomNumber(random));
  }
}

/// Up to 20 digits with a point anywhere, where one way of reading ends and the next begins.
TEST(NumberText, ReadsShortNumbersAsTheCLibraryDoes) {
  std::mt19937_64 random(20140610);  // NOLINT(cert-msc32-c,cert-msc51-cpp)
  for (int i = 0; i < 200'000 && !testing::Test::HasFailure(); ++i) {
    std::string text = std::to_string(random()).substr(0, 1 + random() % 20);
    text.insert(random() % (text.size() + 1), random() % 4 == 0 ? "" : ".");
    if (random() % 4 == 0) { text.insert(0, "-"); }
    ExpectReadAsByTheCLibrary(text);
  }
  for (const char* text :
       {"-0", "-0.0", ".", "-", "-.", "1.", ".5", "1.2.3", "000000000000000", "9007199254740993",
        "999999999999999", "9999999999999999", "0.000000000000001", "1..2", "1.5 ", "1e5"}) {
    ExpectReadAsByTheCLibrary(text);
  }
}

TEST(NumberText, ReadsVeryLongTexts) {
  for (const auto& text :
       {std::string(100'000, '1'), "0." + std::string(100'000, '0') + "1", std::string(100'000, '0') + "12.5",
        "1" + std::string(400, '0') + "e-400", std::string(100'000, ' ') + "-3.25",
        "4.9406564584124654417656879286822137" + std::string(2'000, '2') + "e-324"}) {
    EXPECT_TRUE(Same(NumberIn(text.c_str()), std::atof(text.c_str()))) << text.substr(0, 40);
  }
  EXPECT_EQ(IntegerIn(std::string(100'000, ' ') + "12"), 12);
  EXPECT_EQ(IntegerIn(std::string(100'000, '0') + "12"), 12);
}

TEST(NumberText, IntegersThatDoNotFitAreTheNearestThatDo) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  constexpr int kSmallest = std::numeric_limits<int>::min();
  EXPECT_EQ(IntegerIn("2147483646"), kLargest - 1);
  EXPECT_EQ(IntegerIn("2147483647"), kLargest);
  EXPECT_EQ(IntegerIn("2147483648"), kLargest);
  EXPECT_EQ(IntegerIn("4294967297"), kLargest);
  EXPECT_EQ(IntegerIn("-2147483647"), kSmallest + 1);
  EXPECT_EQ(IntegerIn("-2147483648"), kSmallest);
  EXPECT_EQ(IntegerIn("-2147483649"), kSmallest);
  EXPECT_EQ(IntegerIn("9223372036854775808"), kLargest);
  EXPECT_EQ(IntegerIn("-99999999999999999999999999"), kSmallest);
  EXPECT_EQ(IntegerIn("99999999999999999999999999abc"), kLargest);
  EXPECT_EQ(IntegerIn(std::string(100'000, '9')), kLargest);
}

TEST(NumberText, NumbersOutOfAFloatsRangeAreWhatTheCLibraryReads) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kLargest = std::numeric_limits<float>::max();
  for (const auto& [text, expected] :
       {std::pair("3.4028234e38", 3.4028234e38F),
        {"3.4028234663852886e38", kLargest},
        {"3.4028235677973362e38", kLargest},  // a bit below the middle between it and the next step
        {"3.4028235677973367e38", kInfinity},
        {"3.5e38", kInfinity},
        {"1e300", kInfinity},
        {"1e400", kInfinity},
        {"inf", kInfinity},
        {"1e-300", 0.0F},
        {"1e-45", 1e-45F},
        {"0.1", 0.1F},
        {"100", 100.0F}}) {
    EXPECT_EQ(FloatIn(text), expected) << text;
    EXPECT_EQ(FloatIn(("-" + std::string(text)).c_str()), -expected) << "-" << text;
    EXPECT_EQ(FloatIn(text), std::strtof(text, nullptr)) << text;
  }
  EXPECT_TRUE(std::isnan(FloatIn("nan")));
  EXPECT_TRUE(std::signbit(FloatIn("-1e-300")));
  EXPECT_EQ(FloatIn("abc"), 0.0F);
}

TEST(NumberText, DoesNotFollowTheLocale) {
  std::vector<double> numbers;
  std::vector<int> integers;
  for (const auto& text : OddTexts()) {
    numbers.push_back(NumberIn(text.c_str()));
    integers.push_back(IntegerIn(text));
  }
  const test::DecimalCommaLocale locale;
  ASSERT_EQ(std::atof("1,5"), 1.5);  // the C library follows it
  for (std::size_t i = 0; i < OddTexts().size(); ++i) {
    EXPECT_TRUE(Same(NumberIn(OddTexts()[i].c_str()), numbers[i])) << OddTexts()[i];
    EXPECT_EQ(IntegerIn(OddTexts()[i]), integers[i]) << OddTexts()[i];
  }
  EXPECT_EQ(NumberIn("99.75"), 99.75);
  EXPECT_EQ(NumberIn(" 99.75 "), 99.75);  // the way of the C library
  EXPECT_EQ(NumberIn("1,5"), 1.0);
}

}  // namespace
}  // namespace brio::dbi
