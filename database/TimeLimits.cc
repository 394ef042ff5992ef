#include "database/TimeLimits.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

constexpr std::chrono::seconds kForEver = std::chrono::seconds::max();
constexpr std::chrono::seconds kDefaultSilence{300};
// Longer limits than the server can be told of (its unit is a millisecond in 32 bits) count as no limit.
constexpr std::chrono::seconds kLongest{2'000'000};

std::chrono::seconds LimitIn(const char* variable, std::chrono::seconds otherwise) {
  const char* setting = std::getenv(variable);
  if (setting == nullptr || *setting == '\0') { return otherwise; }
  long seconds = 0;
  const char* end = setting + std::strlen(setting);
  const auto [stop, error] = std::from_chars(setting, end, seconds);
  if (error != std::errc() || stop != end || seconds < 0) {
    LogWarning warning("BrioDatabase");
    warning << variable << " is \"" << setting << "\", not a number of seconds; using ";
    if (otherwise == kForEver) {
      warning << "none";
    } else {
      warning << otherwise.count();
    }
    return otherwise;
  }
  return seconds == 0 || seconds > kLongest.count() ? kForEver : std::chrono::seconds(seconds);
}

}  // namespace

TimeLimits TimeLimits::FromEnvironment() {
  const auto silence = LimitIn("BRIO_QUERY_TIMEOUT", kDefaultSilence);
  return {silence, LimitIn("BRIO_LOAD_TIMEOUT", silence == kForEver ? kForEver : 2 * silence)};
}

}  // namespace brio::dbi
