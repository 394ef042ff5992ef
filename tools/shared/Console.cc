#include "tools/shared/Console.h"

#include <unistd.h>

#include <algorithm>
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
#include "RunHistory/ProgressOutput.h"
#include "framework/MessageLogger.h"
#include "tools/shared/Format.h"
#include "tools/shared/TerminalText.h"
#include "tools/shared/UntoldComplaints.h"

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
  Loudness loudness = Loudness::Normal;
  UntoldComplaints untold;

  // Never deleted: the streams use it until the process ends.
  static StandardError& Instance() {
    static auto* const instance = new StandardError;
    return *instance;
  }

  void Write(const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex);
    WriteLocked(line);
  }

  void WriteLocked(const std::string& line) const {
    const std::string clear = progress.empty() ? "" : "\r\033[K";
    const std::string text = clear + Visible(line) + '\n' + progress;
    WriteNow(text);
  }

  /// \param line  as it is shown
  void WriteComplaint(const std::string& line, const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (loudness == Loudness::Full) { WriteLocked(line); }
    if (loudness == Loudness::Normal) { untold.Add(line, text); }
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
    } else {
      EndLine();
    }
    return character;
  }
  // The library writes a line in one piece and then its end: an end within the piece is part of a value.
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    line_.append(text, static_cast<std::size_t>(size));
    if (size > 0 && line_.back() == '\n') {
      line_.pop_back();
      EndLine();
    }
    return size;
  }

private:
  void EndLine() {
    auto& error = StandardError::Instance();
    if (complaining_) {
      error.Complain(line_, false);
      error.WriteComplaint(line_, line_);
    } else if (error.loudness != Loudness::Quiet) {
      error.Write(line_);
    }
    line_.clear();
  }

  bool complaining_;
  std::string line_;
};

/// Passes on what the library writes, piece by piece as above.
class VisibleBuffer : public std::streambuf {
public:
  explicit VisibleBuffer(std::streambuf* target) : target_(target) {}

protected:
  int_type overflow(int_type character) override {
    if (traits_type::eq_int_type(character, traits_type::eof())) { return traits_type::not_eof(character); }
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
  }
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    const std::string piece(text, static_cast<std::size_t>(size));
    const std::size_t end = piece.find_last_not_of('\n') + 1;
    // Tabs are how the library sets names in.
    const std::size_t begin = std::min(piece.find_first_not_of('\t'), end);
    const std::string visible =
        piece.substr(0, begin) + Visible(piece.substr(begin, end - begin)) + piece.substr(end);
    const auto length = static_cast<std::streamsize>(visible.size());
    return target_->sputn(visible.data(), length) == length ? size : 0;
  }
  int sync() override { return target_->pubsync(); }

private:
  std::streambuf* target_;
};

std::string Trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

const char* NameOf(Severity severity) {
  constexpr std::array kNames{"debug", "info", "warning", "error"};
  return kNames.at(static_cast<std::size_t>(severity));
}

/// As the logger writes it when nobody listens, on one line.
void WriteMessage(Severity severity, const std::string& category, const std::string& text) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  std::array<char, 32> when{};
  static_cast<void>(std::strftime(when.data(), when.size(), "%Y-%m-%dT%H:%M:%SZ ", &fields));
  auto& error = StandardError::Instance();
  const std::string line =
      when.data() + std::string(NameOf(severity)) + " " + category + ": " + OneLine(text);
  if (severity == Severity::Error) { error.Complain(Trimmed(text), category == kDatabaseCategory); }
  if (severity >= Severity::Warning) {
    error.WriteComplaint(line, text);
  } else if (error.loudness != Loudness::Quiet) {
    error.Write(line);
  }
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

void Guard() {
  static auto* const output = new VisibleBuffer(OriginalOutput());
  static auto* const error = new VisibleBuffer(std::cerr.rdbuf());
  std::cout.rdbuf(output);
  std::cerr.rdbuf(error);
  messagelogger::SetSink(WriteMessage);
  SetLoudness(Loudness::Full);
}

std::ostream& Answer() {
  static auto* const answer = new std::ostream(OriginalOutput());
  return *answer;
}

void SetLoudness(Loudness loudness) {
  StandardError::Instance().loudness = loudness;
  if (loudness == Loudness::Quiet) { brio::dbi::SetProgressOutput(nullptr); }
}

void Say(const std::string& line) {
  auto& error = StandardError::Instance();
  const std::lock_guard<std::mutex> lock(error.mutex);
  error.untold.Told(line);
  error.WriteLocked(line);
}

void TellRest() {
  auto& error = StandardError::Instance();
  const std::lock_guard<std::mutex> lock(error.mutex);
  for (const auto& line : error.untold.Take()) {
    error.WriteLocked(line);
  }
}

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
  if (error.loudness == Loudness::Quiet) { return; }
  error.progress = line;
  const std::string text = "\r\033[K" + line;
  WriteNow(text);
}

}  // namespace brio::tools::console
