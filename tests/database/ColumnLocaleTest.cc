// Column::Get under a global locale whose numbers look otherwise.
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <boost/lexical_cast.hpp>

#include "database/Column.h"
#include "tests/support/Locale.h"
#include "tests/support/Output.h"

namespace brio::dbi {
namespace {

/// Texts near numbers: all short ones from the characters that matter, longer ones by chance, and known
/// traps.
std::vector<std::string> OddTexts() {
  const std::string characters = "0125.,+-eEn ";
  std::vector<std::string> texts{""};
  for (std::size_t begin = 0, length = 1; length <= 4; ++length) {
    const std::size_t end = texts.size();
    for (; begin < end; ++begin) {
      for (const char character : characters) {
        texts.push_back(texts[begin] + character);
      }
    }
  }
  std::mt19937 random(20160301);
  std::uniform_int_distribution<std::size_t> length(5, 12);
  std::uniform_int_distribution<std::size_t> position(0, characters.size() - 1);
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (std::size_t missing = length(random); missing > 0; --missing) {
      text += characters[position(random)];
    }
    texts.push_back(text);
  }
  for (const char* text : {"2.125",
                           "1.234.567",
                           "1.234,5",
                           "1,234.5",
                           "12.34",
                           "1.2345",
                           "-1.000",
                           "+1.000",
                           "1.234e3",
                           "1e400",
                           "1e-400",
                           "-1e39",
                           "1e-46",
                           "3.4028235e38",
                           "3.4028236e38",
                           "0x10",
                           "0x1p3",
                           "1f",
                           "1.5f",
                           "1e5,",
                           "inf",
                           "INF",
                           "+inf",
                           "-Infinity",
                           "infinit",
                           "inf.",
                           "nan",
                           "-NaN",
                           "nan()",
                           "nan(1.5)",
                           "nan(1.500)",
                           "nan(",
                           "n1.500",
                           "1.500n",
                           "\t1.5",
                           "1.5\n",
                           "1 500",
                           "2147483647",
                           "2.147.483.647",
                           "2147483648",
                           "9223372036854775807",
                           "9.223.372.036.854.775.807",
                           "-32.768",
                           "40.000",
                           "1_000",
                           "1'000",
                           "true"}) {
    texts.emplace_back(text);
  }
  return texts;
}

/// So compared, every NaN equals itself.
template <class T>
std::string Bytes(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

template <class T>
std::string Answer(const std::string& text) {
  T value{};
  return Column(text.c_str()).Get(value) ? Bytes(value) : "refused";
}

/// The answers to all odd texts.
template <class T>
std::vector<std::string> Answers(const std::vector<std::string>& texts) {
  const test::CapturedOutput quiet;
  std::vector<std::string> answers;
  answers.reserve(texts.size());
  for (const auto& text : texts) {
    answers.push_back(Answer<T>(text));
  }
  return answers;
}

template <class T>
void ExpectTheSameInALocale() {
  const auto texts = OddTexts();
  const auto classic = Answers<T>(texts);
  const test::GlobalDecimalComma comma;
  const auto local = Answers<T>(texts);
  int nConverted = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    ASSERT_EQ(local[i], classic[i]) << '"' << texts[i] << '"';
    if (classic[i] != "refused") { ++nConverted; }
  }
  EXPECT_GT(nConverted, 100);
}

TEST(Column, AnswersInALocaleAsInTheClassicOne) {
  ExpectTheSameInALocale<float>();
  ExpectTheSameInALocale<double>();
  ExpectTheSameInALocale<int>();
  ExpectTheSameInALocale<short>();
  ExpectTheSameInALocale<long long>();
}

template <class T>
void ExpectWhatLexicalCastGives() {
  const auto texts = OddTexts();
  const auto answers = Answers<T>(texts);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    T value{};
    const bool isConverted = boost::conversion::try_lexical_convert(texts[i], value);
    ASSERT_EQ(answers[i], isConverted ? Bytes(value) : "refused") << '"' << texts[i] << '"';
  }
}

TEST(Column, AnswersInTheClassicLocaleAsLexicalCastDoes) {
  ExpectWhatLexicalCastGives<float>();
  ExpectWhatLexicalCastGives<double>();
  ExpectWhatLexicalCastGives<int>();
  ExpectWhatLexicalCastGives<long long>();
}

TEST(Column, ReadsAFractionAsAFractionInEveryLocale) {
  const test::GlobalDecimalComma comma;
  float single = 0.0F;
  ASSERT_TRUE(Column("2.125").Get(single));
  EXPECT_EQ(single, 2.125F);
  double twice = 0.0;
  ASSERT_TRUE(Column("-1234.5").Get(twice));
  EXPECT_EQ(twice, -1234.5);
  int whole = 7;
  test::CapturedOutput output;
  EXPECT_FALSE(Column("2.125").Get(whole));
  EXPECT_EQ(whole, 7);
  EXPECT_FALSE(Column("2,125").Get(single));
  EXPECT_EQ(
      output.StandardError(),
      "Column::Get(): Bad_lexical_cast! Value = 2.125\nColumn::Get(): Bad_lexical_cast! Value = 2,125\n");
}

}  // namespace
}  // namespace brio::dbi
