#pragma once

#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "framework/MessageLogger.h"

namespace brio::python {

struct Message {
  Severity severity = Severity::Debug;
  std::string category;
  std::string text;
};

/// Collects what the library says while one lives: its messages, the progress lines of its loaders (as
/// messages at debug severity) and the warnings that they write to standard error. One at a time in a
/// process.
class CollectedMessages {
public:
  /// \param level  debug, info, warning or error: below it nothing is collected; complaints always are
  explicit CollectedMessages(const std::string& level);
  ~CollectedMessages();
  CollectedMessages(const CollectedMessages&) = delete;
  CollectedMessages& operator=(const CollectedMessages&) = delete;

  /// What came since the last time.
  std::vector<Message> Take();
  /// All complaints, messages at error severity, so far.
  std::vector<Message> Complaints();

private:
  /// Makes each line that is written to it a message.
  class Lines : public std::streambuf {
  public:
    Lines(CollectedMessages& messages, Severity severity) : messages_(messages), severity_(severity) {}
    void End();

  protected:
    int_type overflow(int_type character) override;

  private:
    CollectedMessages& messages_;
    Severity severity_;
    std::string line_;
  };

  void Add(Severity severity, const std::string& category, const std::string& text);

  std::mutex mutex_;
  std::vector<Message> messages_;
  std::vector<Message> complaints_;
  Lines progressLines_;
  Lines warningLines_;
  std::ostream progress_;
  std::ostream* progressBefore_;
  std::streambuf* warningsBefore_;
};

}  // namespace brio::python
