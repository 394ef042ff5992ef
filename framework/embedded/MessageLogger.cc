#include "framework/MessageLogger.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <locale>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

namespace brio::messagelogger {
namespace {

constexpr Severity kDefaultLevel = Severity::Warning;
// Above every message.
constexpr auto kOff = static_cast<Severity>(static_cast<int>(Severity::Error) + 1);

struct Levels {
  Severity general = kDefaultLevel;
  std::map<std::string, Severity> byCategory;
};

spdlog::level::level_enum ToSpdlog(Severity severity) {
  switch (severity) {
    case Severity::Debug: return spdlog::level::debug;
    case Severity::Info: return spdlog::level::info;
    case Severity::Warning: return spdlog::level::warn;
    case Severity::Error: break;
  }
  return spdlog::level::err;
}

std::optional<Severity> SeverityFromText(const std::string& text) {
  if (text == "debug") { return Severity::Debug; }
  if (text == "info") { return Severity::Info; }
  if (text == "warning") { return Severity::Warning; }
  if (text == "error") { return Severity::Error; }
  if (text == "off") { return kOff; }
  return std::nullopt;
}

std::string WithoutBlanksAround(const std::string& text) {
  constexpr const char* kBlanks = " \t\r\n";
  const auto first = text.find_first_not_of(kBlanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Parts that cannot be read are appended to `unreadable`.
Levels ParseLevels(const std::string& text, std::vector<std::string>& unreadable) {
  Levels levels;
  std::istringstream parts(text);
  for (std::string piece; std::getline(parts, piece, ',');) {
    const std::string part = WithoutBlanksAround(piece);
    if (part.empty()) { continue; }
    const auto equals = part.find('=');
    const bool general = equals == std::string::npos;
    const std::string category = WithoutBlanksAround(part.substr(0, equals));
    const auto severity = SeverityFromText(general ? part : WithoutBlanksAround(part.substr(equals + 1)));
    if (!severity || category.empty()) {
      unreadable.push_back(part);
    } else if (general) {
      levels.general = *severity;
    } else {
      levels.byCategory[category] = *severity;
    }
  }
  return levels;
}

Severity Lowest(const Levels& levels) {
  Severity lowest = levels.general;
  for (const auto& [category, level] : levels.byCategory) {
    lowest = std::min(lowest, level);
  }
  return lowest;
}

/// The process's one logger: levels, an optional sink of the client's, and spdlog to standard error.
class Logger {
public:
  static Logger& Instance() {
    // Never deleted, so that messages written while the process exits still come out.
    static auto* const logger = new Logger;
    return *logger;
  }

  bool IsEnabled(Severity severity, const std::string& category) {
    // Most messages are below every level; for them neither the lock nor the look-up is needed.
    if (severity < lowest_.load(std::memory_order_relaxed)) { return false; }
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = levels_.byCategory.find(category);
    return severity >= (found == levels_.byCategory.end() ? levels_.general : found->second);
  }

  void SetLevels(const std::string& text) {
    std::vector<std::string> unreadable;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      levels_ = ParseLevels(text, unreadable);
      lowest_ = Lowest(levels_);
    }
    for (const auto& part : unreadable) {
      Write(Severity::Warning, "MessageLogger",
            "cannot read the level \"" + part +
                "\"; use debug, info, warning, error or off, or category=level");
    }
  }

  void SetSink(Sink sink) {
    // The old sink dies after the lock is gone: what it holds may log.
    const std::lock_guard<std::mutex> lock(mutex_);
    sink_.swap(sink);
  }

  void Write(Severity severity, const std::string& category, const std::string& text) {
    Sink sink;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      sink = sink_;
    }
    if (sink) {
      sink(severity, category, text);
    } else {
      standardError_.log(ToSpdlog(severity), "{}: {}", category, text);
    }
  }

private:
  Logger() : standardError_("brio", std::make_shared<spdlog::sinks::stderr_sink_mt>()) {
    standardError_.set_level(spdlog::level::trace);
    standardError_.set_pattern("%Y-%m-%dT%H:%M:%SZ %l %v", spdlog::pattern_time_type::utc);
    standardError_.flush_on(spdlog::level::trace);
    if (const char* levels = std::getenv("BRIO_LOG")) { SetLevels(levels); }
  }

  std::mutex mutex_;
  Levels levels_;
  std::atomic<Severity> lowest_{kDefaultLevel};
  Sink sink_;
  spdlog::logger standardError_;
};

}  // namespace

bool IsEnabled(Severity severity, const std::string& category) {
  return Logger::Instance().IsEnabled(severity, category);
}
void SetLevels(const std::string& levels) { Logger::Instance().SetLevels(levels); }
void SetSink(Sink sink) { Logger::Instance().SetSink(std::move(sink)); }
void Write(Severity severity, const std::string& category, const std::string& text) {
  Logger::Instance().Write(severity, category, text);
}

}  // namespace brio::messagelogger

namespace brio {

LogMessage::LogMessage(Severity severity, std::string category)
    : severity_(severity), category_(std::move(category)) {
  if (messagelogger::IsEnabled(severity_, category_)) { text_.emplace().imbue(std::locale::classic()); }
}

LogMessage::~LogMessage() {
  if (!text_) { return; }
  try {
    messagelogger::Write(severity_, category_, text_->str());
  } catch (...) {  // NOLINT(bugprone-empty-catch): a message that cannot be written must not end the job
  }
}

}  // namespace brio
