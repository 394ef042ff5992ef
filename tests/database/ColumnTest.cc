#include "database/Column.h"

#include <string>

#include <gtest/gtest.h>

#include "database/Row.h"
#include "tests/support/Output.h"

namespace brio::dbi {
namespace {

using test::CapturedOutput;

/// Converts a text, starting from a value that no text here means, and checks that nothing is printed.
template <class T>
T Converted(const char* text) {
  T value{};
  CapturedOutput output;
  EXPECT_TRUE(Column(text).Get(value)) << text;
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(output.StandardOutput(), "");
  return value;
}

/// Checks that a text is refused, with its line, and that the target stays.
template <class T>
void ExpectRefused(const std::string& text, T before) {
  T value = before;
  CapturedOutput output;
  EXPECT_FALSE(Column(text.c_str()).Get(value)) << text;
  EXPECT_EQ(value, before) << text;
  EXPECT_EQ(output.StandardError(), "Column::Get(): Bad_lexical_cast! Value = " + text + "\n");
  EXPECT_EQ(output.StandardOutput(), "");
}

TEST(Column, ConvertsWholeNumbersInRange) {
  EXPECT_EQ(Converted<int>("-2147483648"), -2147483647 - 1);
  EXPECT_EQ(Converted<int>("2147483647"), 2147483647);
  EXPECT_EQ(Converted<int>("+7"), 7);
  EXPECT_EQ(Converted<short>("-32768"), -32768);
  EXPECT_EQ(Converted<short>("32767"), 32767);
  EXPECT_EQ(Converted<long long>("9223372036854775807"), 9223372036854775807LL);
}

TEST(Column, ConvertsRealNumbers) {
  EXPECT_EQ(Converted<float>("3.5"), 3.5F);
  EXPECT_EQ(Converted<float>("-1e-09"), -1e-9F);
  EXPECT_EQ(Converted<float>("12"), 12.0F);
}

TEST(Column, CopiesTexts) {
  EXPECT_EQ(Converted<std::string>("dcm-2-01-01"), "dcm-2-01-01");
  EXPECT_EQ(Converted<std::string>("  two words "), "  two words ");
}

TEST(Column, TakesAnEmptyTextAsAString) {
  std::string value = "before";
  CapturedOutput output;
  EXPECT_TRUE(Column("").Get(value));
  EXPECT_EQ(value, "");
  EXPECT_EQ(output.StandardError(), "");
}

class BadInteger : public testing::TestWithParam<const char*> {};

TEST_P(BadInteger, IsRefusedWithALineThatShowsIt) {
  ExpectRefused<int>(GetParam(), 42);
  ExpectRefused<short>(GetParam(), 42);
  ExpectRefused<long long>(GetParam(), 42);
}

INSTANTIATE_TEST_SUITE_P(Column, BadInteger,
                         testing::Values("12abc", "3.5", "", " 12", "12 ", "1 2", "0x10", "1e3", "-", "NaN",
                                         "t", "9223372036854775808", "-9223372036854775809",
                                         "100000000000000000000000000"));

TEST(Column, RefusesNumbersOutOfTheTargetsRange) {
  ExpectRefused<short>("40000", 42);
  ExpectRefused<short>("-32769", 42);
  ExpectRefused<int>("2147483648", 42);
  ExpectRefused<int>("-2147483649", 42);
  ExpectRefused<float>("1e400", 42.0F);
  ExpectRefused<float>("1e39", 42.0F);
}

TEST(Column, RefusesTextsThatAreNoRealNumber) {
  for (const char* text : {"", " 1.5", "1.5 ", "1,5", "1.5x", "."}) {
    ExpectRefused<float>(text, 42.0F);
  }
}

template <class T>
void ExpectAbsent(T before) {
  T value = before;
  CapturedOutput output;
  EXPECT_FALSE(Column().Get(value));
  EXPECT_EQ(value, before);
  EXPECT_EQ(output.StandardError(), "");
  EXPECT_EQ(output.StandardOutput(), "");
}

TEST(Column, LeavesTheTargetSilentlyWhenTheValueIsAbsent) {
  ExpectAbsent<int>(42);
  ExpectAbsent<short>(42);
  ExpectAbsent<long long>(42);
  ExpectAbsent<float>(42.0F);
  ExpectAbsent<std::string>("before");
}

TEST(Row, HasAnAbsentColumnOutsideItsRange) {
  const Column columns[] = {Column("a"), Column("b")};
  const Row row(columns, 2);
  EXPECT_STREQ(row.Col(1).Text(), "b");
  EXPECT_EQ(row.Col(2).Text(), nullptr);
  EXPECT_EQ(row.Col(-1).Text(), nullptr);
}

}  // namespace
}  // namespace brio::dbi
