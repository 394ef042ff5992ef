#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "framework/Export.h"

namespace brio {

enum class Severity { Debug, Info, Warning, Error };

/// What the levels and the destination of messages are; for the whole process, usable from any thread.
namespace messagelogger {

/// True when messages of this severity and category are shown. The level is `warning` unless the environment
/// variable BRIO_LOG (read once) or SetLevels says otherwise.
BRIO_EXPORT bool IsEnabled(Severity severity, const std::string& category);

/// Sets the levels from a text in the form of BRIO_LOG: a comma-separated list of `level` (for every
/// category) and `category=level`; levels are debug, info, warning, error, off. "info,RunHistory=off", say.
/// An empty text restores the default. Blanks around a part or a name do not count, nor do empty parts. A
/// part that cannot be read is reported at warning severity and skipped.
BRIO_EXPORT void SetLevels(const std::string& levels);

/// Receives each enabled message in place of standard error; an empty function restores standard error. It is
/// called by the thread that writes the message, by several at the same time if need be, and may write
/// messages itself; a message on its way while the sink is replaced may still go to the old one.
using Sink = std::function<void(Severity, const std::string& category, const std::string& text)>;
BRIO_EXPORT void SetSink(Sink sink);

/// Passes a finished message on, whatever its level.
BRIO_EXPORT void Write(Severity severity, const std::string& category, const std::string& text);

}  // namespace messagelogger

/// One message, built by streaming (in the classic locale, whatever the global one is) and written when the
/// object dies, to standard error through spdlog. When its level is off for its category, nothing that is
/// streamed to it is formatted.
class BRIO_EXPORT LogMessage {
public:
  LogMessage(Severity severity, std::string category);
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;
  ~LogMessage();

  template <class Value>
  LogMessage& operator<<(const Value& value) {
    if (text_) { *text_ << value; }
    return *this;
  }
  LogMessage& operator<<(std::ostream& (*manipulator)(std::ostream&)) {
    if (text_) { *text_ << manipulator; }
    return *this;
  }

private:
  Severity severity_;
  std::string category_;
  std::optional<std::ostringstream> text_;
};

struct LogDebug : LogMessage {
  explicit LogDebug(std::string category) : LogMessage(Severity::Debug, std::move(category)) {}
};
struct LogInfo : LogMessage {
  explicit LogInfo(std::string category) : LogMessage(Severity::Info, std::move(category)) {}
};
struct LogWarning : LogMessage {
  explicit LogWarning(std::string category) : LogMessage(Severity::Warning, std::move(category)) {}
};
struct LogError : LogMessage {
  explicit LogError(std::string category) : LogMessage(Severity::Error, std::move(category)) {}
};

}  // namespace brio
