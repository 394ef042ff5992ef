#include "framework/exception.h"

#include <iomanip>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Locale.h"

namespace {

using testing::HasSubstr;

TEST(Exception, KeepsItsCategoryAndAnEmptyMessage) {
  const cet::exception error("RunHistory::FailedLoadRuns");
  EXPECT_EQ(error.category(), "RunHistory::FailedLoadRuns");
  EXPECT_EQ(error.message(), "");
  EXPECT_THAT(error.what(), HasSubstr("RunHistory::FailedLoadRuns"));
}

TEST(Exception, StreamsValuesAndLineEndsOntoItsMessage) {
  const std::string table = "runs";
  const auto error = cet::exception("RunHistory") << "run " << 12345 << " is not in " << table << std::endl
                                                  << 1.5 << ' ' << true << "\n";
  EXPECT_EQ(error.message(), "run 12345 is not in runs\n1.5 1\n");
}

TEST(Exception, FormatsAsAStreamDoes) {
  const auto error = cet::exception("Format")
                     << std::hex << 255 << ' ' << 16 << std::dec << std::setw(5) << std::setfill('.') << 42
                     << ' ' << std::fixed << std::setprecision(2) << 3.14159 << ' ' << std::boolalpha << true;
  EXPECT_EQ(error.message(), "ff 10...42 3.14 true");
}

TEST(Exception, FormatsAlikeInEveryLocale) {
  const brio::test::GlobalDecimalComma comma;
  const auto error = cet::exception("Format") << 13000 << ' ' << 1.25;
  EXPECT_EQ(error.message(), "13000 1.25");
}

TEST(Exception, AddsToTheMessageItWasMadeWith) {
  cet::exception error("Category", "begun");
  error << ", continued";
  error.append(", ended");
  EXPECT_EQ(error.message(), "begun, continued, ended");
}

TEST(Exception, ShowsCategoryAndMessageInWhat) {
  cet::exception error("BrioDatabase");
  error << "no such file: " << 17;
  EXPECT_STREQ(error.what(), "BrioDatabase: no such file: 17");
}

TEST(Exception, IsCaughtAsAStandardException) {
  try {
    throw cet::exception("RunHistory") << "no such run";
  } catch (const std::exception& error) {
    EXPECT_THAT(error.what(), testing::AllOf(HasSubstr("RunHistory"), HasSubstr("no such run")));
    return;
  }
  FAIL() << "went past the handler";
}

TEST(Exception, CopiesAreIndependent) {
  cet::exception original("Category");
  original << "common" << std::hex;
  cet::exception copy = original;
  copy << ' ' << 10;
  original << ", first " << std::dec << 10;
  EXPECT_EQ(original.message(), "common, first 10");
  EXPECT_STREQ(original.what(), "Category: common, first 10");
  EXPECT_EQ(copy.message(), "common a");
  EXPECT_STREQ(copy.what(), "Category: common a");

  copy = original;
  original << '!';
  EXPECT_EQ(copy.message(), "common, first 10");
}

class Derived : public cet::exception {
public:
  explicit Derived(int run) : cet::exception("Derived"), run_(run) {}
  int Run() const { return run_; }

private:
  int run_;
};

TEST(Exception, ADerivedTypeIsThrownAsItself) {
  try {
    throw Derived(42) << "streamed " << 1 << std::endl;
  } catch (const Derived& error) {
    EXPECT_EQ(error.Run(), 42);
    EXPECT_EQ(error.message(), "streamed 1\n");
    return;
  } catch (...) { FAIL() << "lost its type"; }
}

TEST(Exception, StreamingGivesBackTheSameObject) {
  Derived error(7);
  auto&& same = error << "text";
  static_assert(std::is_same_v<decltype(same), Derived&>);
  EXPECT_EQ(&same, &error);
}

}  // namespace
