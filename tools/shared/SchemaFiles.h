#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "database/Session.h"

namespace brio::tools {

/// A table that the library reads.
struct ExpectedTable {
  std::string name;  ///< "daq.runs"
  std::vector<std::string> columns;
  std::map<std::string, std::string> types;  ///< of the columns, as CREATE TABLE says them
  std::set<std::string> unused;              ///< columns that no loader asks for
};

/// What one of a detector's databases should hold.
struct ExpectedDatabase {
  brio::dbi::DatabaseKind kind{};
  const char* name = "";  ///< as in the {database} of BRIO_DATABASE
  std::vector<ExpectedTable> tables;
  std::vector<std::string> indexes;  ///< recommended, "daq.runs_run"
};

/// What a detector's databases should hold, by the table definitions and the .sql files that are installed
/// with the library. \throws std::runtime_error when one of those is missing
std::vector<ExpectedDatabase> ExpectedDatabases(const std::string& detector);

/// The CREATE statements of the run tables, made from their definitions.
std::string RunTablesSql();
/// The text of an .sql file, "RunHistory/sql/run_indexes.sql" say, found as definition files are.
/// \throws std::runtime_error when it is missing
std::string SqlFile(const std::string& path);

inline constexpr const char* kRunIndexes = "RunHistory/sql/run_indexes.sql";
inline constexpr const char* kHardwareTables = "RunHistory/sql/hardware.sql";
inline constexpr const char* kHardwareIndexes = "RunHistory/sql/hardware_indexes.sql";
inline constexpr const char* kConfigurationTables = "experiment/daqconfig/daqconfig.sql";
inline constexpr const char* kSlowControlTables = "experiment/dcs/slowcontrol.sql";

}  // namespace brio::tools
