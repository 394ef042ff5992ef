#pragma once

#include <string>
#include <vector>

#include "framework/MessageLogger.h"

namespace brio::test {

/// Captures standard output and standard error from construction on; each is taken once.
class CapturedOutput {
public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  /// Ends the capture and gives what was written; later calls give the same text.
  const std::string& StandardOutput();
  const std::string& StandardError();

private:
  bool capturingOutput_ = true;
  bool capturingError_ = true;
  std::string output_;
  std::string error_;
};

struct Message {
  Severity severity;
  std::string category;
  std::string text;
};

/// Receives every message of the logger, at the levels given, while it lives.
class CapturedMessages {
public:
  explicit CapturedMessages(const std::string& levels = "warning");
  ~CapturedMessages();
  CapturedMessages(const CapturedMessages&) = delete;
  CapturedMessages& operator=(const CapturedMessages&) = delete;

  const std::vector<Message>& All() const { return messages_; }
  /// The texts of one severity and category, in the order in which they came.
  std::vector<std::string> Texts(Severity severity, const std::string& category) const;

private:
  std::vector<Message> messages_;
};

}  // namespace brio::test
