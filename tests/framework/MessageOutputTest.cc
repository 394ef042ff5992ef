#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/MessageLogger.h"
#include "tests/support/Output.h"

namespace {

using brio::LogError;
using brio::LogInfo;
using brio::LogWarning;
using brio::test::CapturedMessages;
using brio::test::CapturedOutput;
using testing::HasSubstr;

/// The text with each time of day in it written as TIME.
std::string WithoutTimes(const std::string& text) {
  constexpr std::string_view kShape = "0000-00-00T00:00:00Z";
  const auto isTime = [&](std::string_view piece) {
    return std::equal(piece.begin(), piece.end(), kShape.begin(), kShape.end(),
                      [](char c, char shape) { return shape == '0' ? c >= '0' && c <= '9' : c == shape; });
  };
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    if (isTime(std::string_view(text).substr(at, kShape.size()))) {
      result += "TIME";
      at += kShape.size();
    } else {
      result += text[at++];
    }
  }
  return result;
}

/// What is captured while `log` runs at the default levels; nothing may go to standard output.
template <class Log>
std::string StandardErrorOf(Log log) {
  brio::messagelogger::SetLevels("");
  CapturedOutput output;
  log();
  EXPECT_EQ(output.StandardOutput(), "");
  return WithoutTimes(output.StandardError());
}

TEST(MessageOutput, GoesToStandardErrorWithTimeSeverityAndCategory) {
  EXPECT_EQ(StandardErrorOf([] {
              LogWarning("RunHistory") << "no such run: " << 12345;
              LogError("BrioDatabase") << "connection refused";
            }),
            "TIME warning RunHistory: no such run: 12345\nTIME error BrioDatabase: connection refused\n");
}

TEST(MessageOutput, ShowsNothingBelowTheLevel) {
  EXPECT_EQ(StandardErrorOf([] { LogInfo("RunHistory") << "text"; }), "");
}

TEST(MessageOutput, KeepsLineBreaks) {
  EXPECT_EQ(StandardErrorOf([] {
              LogError("RunHistory") << "about to execute query\n"
                                     << "SELECT 1" << std::endl;
            }),
            "TIME error RunHistory: about to execute query\nSELECT 1\n\n");
}

TEST(MessageOutput, TakesTextsAndCategoriesAsTheyAre) {
  EXPECT_EQ(StandardErrorOf([] { LogError("{} %v {0}") << "{} {1:d} %s %n {{ }}"; }),
            "TIME error {} %v {0}: {} {1:d} %s %n {{ }}\n");
}

TEST(MessageOutput, KeepsBytesThatAreNoText) {
  const std::string bytes("a\0b\xff\xc3(", 6);
  EXPECT_EQ(StandardErrorOf([&bytes] { LogError("RunHistory") << bytes; }),
            "TIME error RunHistory: " + bytes + "\n");
}

TEST(MessageOutput, KeepsLongTextsWhole) {
  const std::string text(1'000'000, 'x');
  EXPECT_EQ(StandardErrorOf([&text] { LogError("RunHistory") << text; }),
            "TIME error RunHistory: " + text + "\n");
}

TEST(MessageOutput, ComesBackWhenTheSinkIsRemoved) {
  EXPECT_EQ(StandardErrorOf([] {
              {
                const CapturedMessages messages;
                LogError("RunHistory") << "to the sink";
                EXPECT_THAT(messages.Texts(brio::Severity::Error, "RunHistory"),
                            testing::ElementsAre("to the sink"));
              }
              LogError("RunHistory") << "to standard error";
            }),
            "TIME error RunHistory: to standard error\n");
}

TEST(MessageOutput, OfSeveralThreadsIsNotMixedUpWithinALine) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 250;
  std::string output = StandardErrorOf([] {
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([] {
        for (int n = 0; n < kMessages; ++n) {
          LogError("RunHistory") << "a text of some length to be cut";
        }
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
  });
  const std::string line = "TIME error RunHistory: a text of some length to be cut\n";
  std::string expected;
  for (int i = 0; i < kThreads * kMessages; ++i) {
    expected += line;
  }
  EXPECT_EQ(output, expected);
}

/// Logs while the process exits; made before the logger is, it dies after anything made with it.
struct LogsAtExit {
  ~LogsAtExit() { LogError("RunHistory") << "written at exit"; }
};

TEST(MessageOutputDeathTest, IsNotLostWhileTheProcessExits) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(
      {
        static const LogsAtExit atExit;
        LogError("RunHistory") << "written before";
        std::exit(0);
      },
      testing::ExitedWithCode(0), HasSubstr("error RunHistory: written at exit"));
}

}  // namespace
