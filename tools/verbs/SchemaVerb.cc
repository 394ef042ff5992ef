#include <algorithm>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/SchemaFiles.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

struct SchemaOptions {
  bool indexes = false;
  bool hardware = false;
  std::string only;  ///< one of a site's databases; all when empty
};

std::string Statements(const SchemaOptions& schema) {
  const auto isAskedFor = [&](const char* database) {
    return schema.only.empty() || schema.only == database;
  };
  std::string sql = isAskedFor("runs") ? RunTablesSql() : "";
  if (isAskedFor("runs")) { sql += SqlFile(kRunIndexes); }
  const auto add = [&](const std::string& statements) { sql += (sql.empty() ? "" : "\n") + statements; };
  if (isAskedFor("daqconfig")) { add(SqlFile(kConfigurationTables)); }
  if (isAskedFor("slowcontrol")) { add(SqlFile(kSlowControlTables)); }
  if (schema.hardware || schema.only == "hardware") { add(SqlFile(kHardwareTables)); }
  if (schema.indexes && isAskedFor("hardware")) { add(SqlFile(kHardwareIndexes)); }
  return sql;
}

/// Each statement by itself, without comments; none of them has a semicolon at the end of a line within it.
Json ListOf(const std::string& sql) {
  Json list = Json::array();
  std::string statement;
  std::istringstream lines(sql);
  for (std::string line; std::getline(lines, line);) {
    line.erase(std::min(line.find("--"), line.size()));
    line.erase(line.find_last_not_of(' ') + 1);
    if (line.empty()) { continue; }
    statement += (statement.empty() ? "" : "\n") + line;
    if (line.back() != ';') { continue; }
    list.push_back(std::exchange(statement, {}));
  }
  return list;
}

}  // namespace

Action PrepareSchema(CLI::App& command, const Options& options) {
  auto schema = std::make_shared<SchemaOptions>();
  auto* hardware =
      command.add_flag("--hardware", schema->hardware,
                       "Also the hardware tables, for a site whose hardware database is not there yet");
  command
      .add_option("--only", schema->only, "Only the tables of one database, for a site that keeps them apart")
      ->check(CLI::IsMember({"runs", "hardware", "daqconfig", "slowcontrol"}))
      ->excludes(hardware);
  command.add_flag("--indexes", schema->indexes, "Also the recommended indexes of the hardware tables");
  return [schema, &options] {
    const std::string sql = Statements(*schema);
    if (options.json) {
      console::Answer() << JsonText({{"statements", ListOf(sql)}}) << '\n';
    } else {
      console::Answer() << sql;
    }
    return kAnswered;
  };
}

}  // namespace brio::tools
