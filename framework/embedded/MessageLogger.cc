#include "framework/MessageLogger.h"

#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

namespace brio::messagelogger {
namespace {

constexpr Severity kDefaultLevel = Severity::Warning;

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
  return std::nullopt;
}

// Parts that cannot be read are appended to `unreadable`.
Levels ParseLevels(const std::string& text, std::vector<std::string>& unreadable) {
  Levels levels;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts, part, ',');) {
    const auto equals = part.find('=');
    const auto severity = SeverityFromText(equals == std::string::npos ? part : part.substr(equals + 1));
    if (!severity || equals == 0) {
      unreadable.push_back(part);
    } else if (equals == std::string::npos) {
      levels.general = *severity;
    } else {
      levels.byCategory[part.substr(0, equals)] = *severity;
    }
  }
  return levels;
}

/// The process's one logger: levels, an optional sink of the client's, and spdlog to standard error.
class Logger {
public:
  static Logger& Instance() {
    static Logger logger;
    return logger;
  }

  bool IsEnabled(Severity severity, const std::string& category) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = levels_.byCategory.find(category);
    return severity >= (found == levels_.byCategory.end() ? levels_.general : found->second);
  }

  void SetLevels(const std::string& text) {
    std::vector<std::string> unreadable;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      levels_ = ParseLevels(text, unreadable);
    }
    for (const auto& part : unreadable) {
      Write(Severity::Warning, "MessageLogger",
            "cannot read the level \"" + part + "\"; use debug, info, warning or error, or category=level");
    }
  }

  void SetSink(Sink sink) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sink_ = std::move(sink);
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
  if (messagelogger::IsEnabled(severity_, category_)) { text_.emplace(); }
}

LogMessage::~LogMessage() {
  if (!text_) { return; }
  try {
    messagelogger::Write(severity_, category_, text_->str());
  } catch (...) {  // NOLINT(bugprone-empty-catch): a message that cannot be written must not end the job
  }
}

}  // namespace brio
