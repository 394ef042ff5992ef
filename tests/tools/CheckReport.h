#pragma once

#include <set>
#include <sstream>
#include <stdexcept>

#include "tests/tools/Sample.h"

namespace brio::test {

/// `check` of the far detector's databases.
inline CommandResult Check(const std::string& databases, Arguments more = {}) {
  more.insert(more.begin(), "check");
  return RunHistoryCommand(OnDatabases(databases, "Birch", more));
}

/// What check's JSON says of one database.
inline const nlohmann::json& Named(const nlohmann::json& report, const std::string& name) {
  for (const auto& database : report["databases"]) {
    if (database["name"] == name) { return database; }
  }
  throw std::runtime_error("the report has no " + name);
}

/// The lines of check's text that begin with a word, indented, each once.
inline std::set<std::string> LinesOf(const std::string& output, const std::string& word) {
  std::set<std::string> lines;
  std::istringstream text(output);
  for (std::string line; std::getline(text, line);) {
    if (line.rfind("    " + word, 0) == 0) { lines.insert(line.substr(4)); }
  }
  return lines;
}

}  // namespace brio::test
