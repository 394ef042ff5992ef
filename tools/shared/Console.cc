#include "tools/shared/Console.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <mutex>
#include <utility>
#include <vector>

#include "RunHistory/FreshTry.h"
#include "framework/MessageLogger.h"

namespace brio::tools::console {
namespace {

constexpr const char* kDatabaseCategory = "BrioDatabase";

struct Complaint {
  std::string text;
  bool fromDatabase;
  long freshTries = brio::dbi::FreshTries();

  /// What was complained of was loaded after all: the load began afresh afterwards.
  bool IsOutdated() const { return freshTries < brio::dbi::FreshTries(); }
};

/// Where this fails there is nobody left to tell.
void WriteNow(const std::string& text) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
  static_cast<void>(std::fflush(stderr));
}

/// What reaches standard error. Used by the thread that shows progress too.
struct StandardError {
  std::mutex mutex;
  std::string progress;
  std::vector<Complaint> complaints;

  // Never deleted: the streams use it until the process ends.
  static StandardError& Instance() {
    static auto* const instance = new StandardError;
    return *instance;
  }

  void Write(const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex);
    const std::string clear = progress.empty() ? "" : "\r\033[K";
    const std::string text = clear + line + '\n' + progress;
    WriteNow(text);
  }

  void Complain(const std::string& text, bool fromDatabase) {
    const std::lock_guard<std::mutex> lock(mutex);
    complaints.push_back({text, fromDatabase});
  }
};

/// Passes whole lines on to standard error.
class LineBuffer : public std::streambuf {
public:
  explicit LineBuffer(bool complaining) : complaining_(complaining) {}

protected:
  int_type overflow(int_type character) override {
    if (traits_type::eq_int_type(character, traits_type::eof())) { return traits_type::not_eof(character); }
    if (traits_type::to_char_type(character) != '\n') {
      line_ += traits_type::to_char_type(character);
      return character;
    }
    auto& error = StandardError::Instance();
    if (complaining_) { error.Complain(line_, false); }
    error.Write(line_);
    line_.clear();
    return character;
  }

private:
  bool complaining_;
  std::string line_;
};

std::string Trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

const char* NameOf(Severity severity) {
  constexpr std::array kNames{"debug", "info", "warning", "error"};
  return kNames.at(static_cast<std::size_t>(severity));
}

/// As the logger writes it when nobody listens.
void WriteMessage(Severity severity, const std::string& category, const std::string& text) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  std::array<char, 32> when{};
  static_cast<void>(std::strftime(when.data(), when.size(), "%Y-%m-%dT%H:%M:%SZ ", &fields));
  auto& error = StandardError::Instance();
  if (severity == Severity::Error) { error.Complain(Trimmed(text), category == kDatabaseCategory); }
  error.Write(when.data() + std::string(NameOf(severity)) + " " + category + ": " + Trimmed(text));
}

/// Standard output as it was before Take.
std::streambuf* OriginalOutput() {
  static std::streambuf* const buffer = std::cout.rdbuf();
  return buffer;
}

}  // namespace

void Take() {
  OriginalOutput();
  static auto* const progress = new LineBuffer(false);
  static auto* const complaints = new LineBuffer(true);
  std::cout.rdbuf(progress);
  std::cerr.rdbuf(complaints);
  messagelogger::SetSink(WriteMessage);
}

std::ostream& Answer() {
  static auto* const answer = new std::ostream(OriginalOutput());
  return *answer;
}

void Say(const std::string& line) { StandardError::Instance().Write(line); }

std::size_t Complaints() {
  auto& error = StandardError::Instance();
  const std::lock_guard<std::mutex> lock(error.mutex);
  return error.complaints.size();
}

std::string ComplaintSince(std::size_t count, bool fromDatabase) {
  auto& error = StandardError::Instance();
  const std::lock_guard<std::mutex> lock(error.mutex);
  for (std::size_t i = count; i < error.complaints.size(); ++i) {
    const auto& complaint = error.complaints[i];
    if (complaint.IsOutdated()) { continue; }
    if (!fromDatabase || complaint.fromDatabase) { return complaint.text; }
  }
  return {};
}

bool IsTerminal(int descriptor) { return isatty(descriptor) == 1; }

bool IsDumb() {
  const char* terminal = std::getenv("TERM");
  return terminal != nullptr && std::strcmp(terminal, "dumb") == 0;
}

bool CanShowProgress() { return IsTerminal(STDERR_FILENO) && !IsDumb(); }

void ShowProgress(const std::string& line) {
  auto& error = StandardError::Instance();
  const std::lock_guard<std::mutex> lock(error.mutex);
  if (line.empty() && error.progress.empty()) { return; }
  error.progress = line;
  const std::string text = "\r\033[K" + line;
  WriteNow(text);
}

}  // namespace brio::tools::console
