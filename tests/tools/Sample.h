#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "RunHistory/RunHistory.h"
#include "tests/support/Server.h"
#include "tests/tools/Command.h"

namespace brio::test {

using Arguments = std::vector<std::string>;

/// A verb's arguments, pointed at databases of the private server.
inline Arguments OnDatabases(const std::string& databases, const std::string& detector, Arguments arguments) {
  for (const auto& more : {std::string("--detector"), detector, std::string("--database"), databases}) {
    arguments.push_back(more);
  }
  return arguments;
}

/// The same on the small sample.
inline CommandResult OnSmall(const std::string& detector, const Arguments& arguments) {
  return RunHistoryCommand(OnDatabases(server::Template("small"), detector, arguments));
}

/// The JSON answer of a verb on the small sample; a failed command's answer is null.
inline nlohmann::json JsonOnSmall(const std::string& detector, Arguments arguments) {
  arguments.emplace_back("--json");
  const auto result = OnSmall(detector, arguments);
  return result.status == 0 ? nlohmann::json::parse(result.output) : nlohmann::json();
}

/// The library's own answers about a run of the small sample, loaded as far as it goes.
struct LibraryRun {
  LibraryRun(const std::string& detector, int run)
      : database("BRIO_DATABASE", server::Template("small")), history(run, detector) {
    history.LoadAllDetInfo();
  }
  EnvironmentVariable database;
  dbi::RunHistory history;
};

}  // namespace brio::test
