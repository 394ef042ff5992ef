#include "database/ConnectionString.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

constexpr const char* kDefaultTemplate = "service=brio-{detector}";

thread_local std::optional<std::string> chosen;

const char* DatabaseName(DatabaseKind kind) {
  switch (kind) {
    case DatabaseKind::Runs: return "runs";
    case DatabaseKind::Hardware: return "hardware";
    case DatabaseKind::DAQConfiguration: return "daqconfig";
    case DatabaseKind::SlowControl: break;
  }
  return "slowcontrol";
}

/// The template that was set; null for none.
const char* SetTemplate() {
  if (chosen) { return chosen->c_str(); }
  const char* variable = std::getenv(kDatabaseVariable);
  return variable != nullptr && *variable != '\0' ? variable : nullptr;
}

bool IsNameCharacter(unsigned char character) {
  return std::isalnum(character) != 0 || character == '_' || character == '-';
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return text;
}

}  // namespace

bool IsDatabaseSet() { return SetTemplate() != nullptr; }

ScopedDatabase::ScopedDatabase(std::string connectionTemplate)
    : before_(std::exchange(chosen, std::move(connectionTemplate))) {}

ScopedDatabase::~ScopedDatabase() { chosen = std::move(before_); }

std::string ExpandTemplate(const std::string& connectionTemplate, const std::string& detector,
                           DatabaseKind kind) {
  static const std::string kDetector = "{detector}";
  static const std::string kDatabase = "{database}";
  std::string expanded;
  for (std::size_t at = 0; at < connectionTemplate.size();) {
    if (connectionTemplate.compare(at, kDetector.size(), kDetector) == 0) {
      expanded += LowerCase(detector);
      at += kDetector.size();
    } else if (connectionTemplate.compare(at, kDatabase.size(), kDatabase) == 0) {
      expanded += DatabaseName(kind);
      at += kDatabase.size();
    } else {
      expanded += connectionTemplate[at++];
    }
  }
  return expanded;
}

std::optional<std::string> ExpandConnectionString(const std::string& detector, DatabaseKind kind) {
  if (detector.empty() || !std::all_of(detector.begin(), detector.end(), IsNameCharacter)) {
    LogError("BrioDatabase") << "cannot choose a database for the detector name \"" << detector
                             << "\": a name of letters, digits, \"_\" and \"-\" is needed";
    return std::nullopt;
  }
  const char* connectionTemplate = SetTemplate();
  return ExpandTemplate(connectionTemplate != nullptr ? connectionTemplate : kDefaultTemplate, detector,
                        kind);
}

}  // namespace brio::dbi
