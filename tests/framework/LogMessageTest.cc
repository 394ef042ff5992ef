#include <atomic>
#include <iomanip>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framework/MessageLogger.h"
#include "tests/support/Locale.h"
#include "tests/support/Output.h"

namespace {

using brio::LogDebug;
using brio::LogError;
using brio::LogInfo;
using brio::LogWarning;
using brio::Severity;
using brio::test::CapturedMessages;
using testing::ElementsAre;

/// Counts how often it is formatted.
struct Counted {
  mutable int formatted = 0;
  friend std::ostream& operator<<(std::ostream& out, const Counted& counted) {
    ++counted.formatted;
    return out << "counted";
  }
};

TEST(LogMessage, FormatsNothingWhenItsLevelIsOff) {
  const CapturedMessages messages("warning");
  const Counted counted;
  LogDebug("RunHistory") << counted << std::endl << counted;
  LogInfo("RunHistory") << counted;
  EXPECT_EQ(counted.formatted, 0);
  EXPECT_TRUE(messages.All().empty());

  LogWarning("RunHistory") << counted;
  EXPECT_EQ(counted.formatted, 1);
  EXPECT_THAT(messages.Texts(Severity::Warning, "RunHistory"), ElementsAre("counted"));
}

TEST(LogMessage, IsWrittenOnceAsAWholeWhenItDies) {
  const CapturedMessages messages("debug");
  {
    LogInfo message("RunHistory");
    message << "one " << 2;
    message << ' ' << std::hex << 255 << std::setw(4) << 1 << std::endl << "three";
    EXPECT_TRUE(messages.All().empty());
  }
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"), ElementsAre("one 2 ff   1\nthree"));
  EXPECT_EQ(messages.All().size(), 1U);
}

TEST(LogMessage, FormatsAlikeInEveryLocale) {
  const CapturedMessages messages("debug");
  const brio::test::GlobalDecimalComma comma;
  LogInfo("RunHistory") << "run " << 13000 << ' ' << 1.25;
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"), ElementsAre("run 13000 1.25"));
}

TEST(LogMessage, HasTheSeverityOfItsType) {
  const CapturedMessages messages("debug");
  LogDebug("A") << "debug";
  LogInfo("B") << "info";
  LogWarning("C") << "warning";
  LogError("D") << "error";
  ASSERT_EQ(messages.All().size(), 4U);
  EXPECT_THAT(messages.Texts(Severity::Debug, "A"), ElementsAre("debug"));
  EXPECT_THAT(messages.Texts(Severity::Info, "B"), ElementsAre("info"));
  EXPECT_THAT(messages.Texts(Severity::Warning, "C"), ElementsAre("warning"));
  EXPECT_THAT(messages.Texts(Severity::Error, "D"), ElementsAre("error"));
}

TEST(LogMessage, WithoutTextIsStillAMessage) {
  const CapturedMessages messages("debug");
  { const LogInfo message("RunHistory"); }
  EXPECT_THAT(messages.Texts(Severity::Info, "RunHistory"), ElementsAre(""));
}

TEST(LogMessage, ASinkThatThrowsDoesNotEndTheJob) {
  const CapturedMessages restoresLater("warning");
  brio::messagelogger::SetSink(
      [](Severity, const std::string&, const std::string&) { throw std::runtime_error("sink"); });
  LogError("RunHistory") << "text";
}

TEST(LogMessage, ASinkMayLogAndReplaceItself) {
  const CapturedMessages restoresLater("warning");
  std::vector<std::string> texts;
  brio::messagelogger::SetSink([&texts](Severity, const std::string&, const std::string& text) {
    texts.push_back(text);
    if (text == "outer") { LogError("Sink") << "inner"; }
    if (text == "inner") {
      brio::messagelogger::SetSink([&texts](Severity, const std::string&, const std::string& later) {
        texts.push_back("new sink: " + later);
      });
    }
  });
  LogError("Client") << "outer";
  LogError("Client") << "afterwards";
  EXPECT_THAT(texts, ElementsAre("outer", "inner", "new sink: afterwards"));
}

/// Logs when it dies.
struct LogsAtItsEnd {
  ~LogsAtItsEnd() { LogError("Sink") << "gone"; }
};

TEST(LogMessage, AReplacedSinkMayLogWhileItDies) {
  CapturedMessages restoresLater("warning");
  brio::messagelogger::SetSink(
      [holds = std::make_shared<LogsAtItsEnd>()](Severity, const std::string&, const std::string&) {});
  std::vector<std::string> texts;
  brio::messagelogger::SetSink(
      [&texts](Severity, const std::string&, const std::string& text) { texts.push_back(text); });
  EXPECT_THAT(texts, ElementsAre("gone"));
}

TEST(LogMessage, ThreadsMayLogWhileLevelsAndSinkChange) {
  CapturedMessages restoresLater("warning");
  std::atomic<int> received{0};
  const auto count = [&received](Severity, const std::string&, const std::string& text) {
    if (text == "text") { ++received; }
  };
  brio::messagelogger::SetSink(count);
  constexpr int kThreads = 4;
  constexpr int kMessages = 2000;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i] {
      for (int n = 0; n < kMessages; ++n) {
        LogError("Thread" + std::to_string(i)) << "text";
        LogDebug("Thread" + std::to_string(i)) << "text of no interest";
      }
    });
  }
  for (int n = 0; n < 500; ++n) {
    brio::messagelogger::SetLevels(n % 2 == 0 ? "info,Thread1=warning" : "warning,Thread2=info");
    brio::messagelogger::SetSink(count);
  }
  for (auto& thread : threads) {
    thread.join();
  }
  // Errors are shown at every one of these levels, so each arrives.
  EXPECT_EQ(received, kThreads * kMessages);
}

}  // namespace
