#include "database/SchemaPath.h"

#include <cstdlib>
#include <optional>
#include <sstream>

#include "database/Quoted.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

constexpr const char* kVariable = "BRIO_SCHEMA_PATH";
constexpr const char* kDefault = "public";

std::string WithoutBlanks(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) { return {}; }
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

bool IsRefused(const std::string& schema) {
  return schema.empty() || schema == "$user" || schema.rfind("pg_temp", 0) == 0;
}

/// The names, quoted; nothing when one of them is refused.
std::optional<std::string> QuotedNames(const std::string& setting) {
  std::string list;
  std::istringstream stream(setting + ',');
  for (std::string part; std::getline(stream, part, ',');) {
    const std::string schema = WithoutBlanks(part);
    if (IsRefused(schema)) { return std::nullopt; }
    list += (list.empty() ? "" : ", ") + Quoted(schema);
  }
  return list;
}

}  // namespace

std::string SchemaPath() {
  const char* setting = std::getenv(kVariable);
  auto names = QuotedNames(setting == nullptr || *setting == '\0' ? kDefault : setting);
  if (!names) {
    LogWarning("BrioDatabase") << kVariable << " is \"" << setting
                               << "\", not a list of schemas without \"$user\" and pg_temp; using "
                               << kDefault;
    names = Quoted(kDefault);
  }
  return "pg_catalog, " + *names + ", pg_temp";
}

}  // namespace brio::dbi
