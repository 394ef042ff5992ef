#include "database/PlainText.h"

#include <climits>
#include <iomanip>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/Locale.h"

namespace brio::dbi {
namespace {

TEST(PlainText, WritesNumbersAsANewStreamDoes) {
  EXPECT_EQ(PlainText("run ", 13000, ", ", 1.25, ' ', 1234567.0F, ' ', 1e-7F, std::string(" end")),
            "run 13000, 1.25 1.23457e+06 1e-07 end");
  EXPECT_EQ(PlainText(INT_MIN, ' ', ULLONG_MAX), "-2147483648 18446744073709551615");
  EXPECT_EQ(PlainText(std::fixed, 0.5), "0.500000");
}

TEST(PlainText, DoesNotFollowTheGlobalLocale) {
  const test::GlobalDecimalComma comma;
  std::ostringstream followed;
  followed << 1234567.5;
  ASSERT_EQ(followed.str(), "1,23457e+06");
  EXPECT_EQ(PlainText(1234567, ' ', 1.25, ' ', std::fixed, 1234567.5), "1234567 1.25 1234567.500000");
}

TEST(WriteLine, NeitherFollowsNorChangesTheFormatOfTheStream) {
  std::ostringstream stream;
  const test::OddFormat odd(stream);
  WriteLine(stream, "run ", 1234567, ' ', -0.125);
  EXPECT_EQ(stream.str(), "run 1234567 -0.125\n");
  EXPECT_TRUE(odd.IsKept());
}

}  // namespace
}  // namespace brio::dbi
