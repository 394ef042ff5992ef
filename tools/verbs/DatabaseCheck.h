#pragma once

#include <string>
#include <vector>

#include "tools/shared/Loading.h"
#include "tools/shared/SchemaFiles.h"

namespace brio::tools {

/// What was found in one of a detector's databases.
struct DatabaseCheck {
  std::string name;
  Outcome connection;
  double connectMilliseconds = 0;
  std::string version;
  std::string database;
  std::string user;
  bool isReadOnly = false;
  bool isStandby = false;
  int tables = 0;  ///< that should be there
  std::vector<std::string> missingTables;
  std::vector<std::string> missingColumns;
  /// Tables, and columns of readable ones, that are there, but not for this role.
  std::vector<std::string> unreadable;
  std::vector<std::string> wrongTypes;  ///< "daq.runs.tstart is timestamp with time zone, not timestamp"
  bool lacksNeeded = false;             ///< a loader asks for something of these
  int indexes = 0;                      ///< that are recommended
  std::vector<std::string> missingIndexes;
  /// Where the library finds the table hardware_position, which it names without a schema; empty when it
  /// finds none, or has no use for it here.
  std::string positionSchema;
  /// What lets others put something in the place of what the library means.
  std::vector<std::string> warnings;
  double lookMilliseconds = 0;

  /// Everything that the library reads is there.
  bool IsComplete() const { return connection.ok && !lacksNeeded; }
};

DatabaseCheck CheckDatabase(const std::string& detector, const ExpectedDatabase& expected, int retries);

/// One step of loading a run.
struct LoadStep {
  const char* name = "";
  Outcome outcome;
  double milliseconds = 0;
  bool isMissing = false;  ///< the runs table has no such run
};

/// Loads a run step by step, up to the first that fails.
std::vector<LoadStep> TryLoading(brio::dbi::RunHistory& history);

}  // namespace brio::tools
