#include "tests/support/Output.h"

#include <iostream>

#include <gtest/gtest.h>

namespace brio::test {

CapturedOutput::CapturedOutput() {
  std::cout.flush();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
}

CapturedOutput::~CapturedOutput() {
  StandardOutput();
  StandardError();
}

const std::string& CapturedOutput::StandardOutput() {
  if (capturingOutput_) {
    std::cout.flush();
    output_ = testing::internal::GetCapturedStdout();
    capturingOutput_ = false;
  }
  return output_;
}

const std::string& CapturedOutput::StandardError() {
  if (capturingError_) {
    error_ = testing::internal::GetCapturedStderr();
    capturingError_ = false;
  }
  return error_;
}

CapturedMessages::CapturedMessages(const std::string& levels) {
  messagelogger::SetLevels(levels);
  messagelogger::SetSink([this](Severity severity, const std::string& category, const std::string& text) {
    messages_.push_back({severity, category, text});
  });
}

CapturedMessages::~CapturedMessages() {
  messagelogger::SetSink({});
  messagelogger::SetLevels("");
}

std::vector<std::string> CapturedMessages::Texts(Severity severity, const std::string& category) const {
  std::vector<std::string> texts;
  for (const auto& message : messages_) {
    if (message.severity == severity && message.category == category) { texts.push_back(message.text); }
  }
  return texts;
}

}  // namespace brio::test
