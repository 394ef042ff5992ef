#include "python/module/Messages.h"

#include <iostream>
#include <utility>

#include "RunHistory/ProgressOutput.h"

namespace brio::python {
namespace {

constexpr const char* kLoaders = "RunHistory";

}  // namespace

CollectedMessages::CollectedMessages(const std::string& level)
    : progressLines_(*this, Severity::Debug),
      warningLines_(*this, Severity::Warning),
      progress_(&progressLines_),
      progressBefore_(dbi::GetProgressOutput()),
      warningsBefore_(std::cerr.rdbuf(&warningLines_)) {
  messagelogger::SetLevels(level);
  messagelogger::SetSink([this](Severity severity, const std::string& category, const std::string& text) {
    Add(severity, category, text);
  });
  dbi::SetProgressOutput(level == "debug" ? &progress_ : nullptr);
}

CollectedMessages::~CollectedMessages() {
  dbi::SetProgressOutput(progressBefore_);
  std::cerr.rdbuf(warningsBefore_);
  messagelogger::SetSink({});
  progressLines_.End();
  warningLines_.End();
}

void CollectedMessages::Add(Severity severity, const std::string& category, const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  messages_.push_back({severity, category, text});
  if (severity == Severity::Error) { complaints_.push_back(messages_.back()); }
}

std::vector<Message> CollectedMessages::Take() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(messages_, {});
}

std::vector<Message> CollectedMessages::Complaints() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return complaints_;
}

std::streambuf::int_type CollectedMessages::Lines::overflow(int_type character) {
  if (character == traits_type::eof()) { return traits_type::not_eof(character); }
  if (traits_type::to_char_type(character) == '\n') {
    End();
  } else {
    line_ += traits_type::to_char_type(character);
  }
  return character;
}

void CollectedMessages::Lines::End() {
  if (!line_.empty()) { messages_.Add(severity_, kLoaders, std::exchange(line_, {})); }
}

}  // namespace brio::python
