#include "tools/shared/SchemaFiles.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>

#include "database/SearchPath.h"
#include "database/TableDefinition.h"

namespace brio::tools {
namespace {

using brio::dbi::DatabaseKind;

constexpr std::array kRunTables{"Runs",         "Subruns", "DAQResourcesByRun", "GoodDiBlocksVsRun",
                                "DQSubrunInfo", "POTByRun"};
// The near detector's hardware is in a table of its own.
constexpr const char* kNearHardware = "public.hardware_position";

std::string Quoted(const std::string& identifier) {
  std::string quoted = "\"";
  for (const char character : identifier) {
    quoted += character == '"' ? "\"\"" : std::string(1, character);
  }
  return quoted + '"';
}

dbi::TableDefinition Definition(const char* table) {
  return dbi::ReadTableDefinition("RunHistory/tables/" + std::string(table) + ".xml");
}

std::string WithoutComments(const std::string& sql) {
  std::istringstream lines(sql);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += line.substr(0, line.find("--")) + '\n';
  }
  return text;
}

/// Columns of the tables in .sql files that no loader asks for.
std::set<std::string> UnusedColumns(const std::string& table) {
  static const std::map<std::string, std::set<std::string>> kUnused{
      {"millpondprod_factory.barcoded_item", {"added_by"}},
      {"millpondprod_factory.module", {"orientation"}},
      {"millpondprod_factory.apd", {"wafer"}},
      {"public.apd_stats", {"gain_mean"}},
      {"public.feb_comm_cables", {"cable_id"}},
      {"public.hardware_position", {"serial"}},
      {"daqconfig.configurations", {"description", "created"}}};
  const auto found = kUnused.find(table);
  return found != kUnused.end() ? found->second : std::set<std::string>();
}

/// The columns in the body of a CREATE TABLE with their types: what stands first on a line that does not
/// begin with a constraint, and the words in lower case behind it.
void AddColumns(const std::string& body, ExpectedTable& table) {
  static const std::regex kColumn("^\\s*([a-z_0-9]+)\\s+([a-z]+( [a-z]+)*)", std::regex::multiline);
  for (std::sregex_iterator match(body.begin(), body.end(), kColumn), end; match != end; ++match) {
    table.columns.push_back((*match)[1]);
    table.types[(*match)[1]] = (*match)[2];
  }
}

/// The tables that an .sql file of this project creates, one column a line.
std::vector<ExpectedTable> TablesIn(const std::string& sql) {
  static const std::regex kTable("CREATE TABLE IF NOT EXISTS ([a-z_0-9.]+) \\(\n([^;]*)\\);");
  const std::string text = WithoutComments(sql);
  std::vector<ExpectedTable> tables;
  for (std::sregex_iterator match(text.begin(), text.end(), kTable), end; match != end; ++match) {
    ExpectedTable table{(*match)[1], {}, {}, UnusedColumns((*match)[1])};
    AddColumns((*match)[2], table);
    tables.push_back(std::move(table));
  }
  return tables;
}

/// The indexes that an .sql file creates, each with its table.
std::vector<std::pair<std::string, std::string>> IndexesIn(const std::string& sql) {
  static const std::regex kIndex("CREATE INDEX IF NOT EXISTS ([a-z_0-9]+) ON ([a-z_0-9]+)\\.([a-z_0-9]+)");
  const std::string text = WithoutComments(sql);
  std::vector<std::pair<std::string, std::string>> indexes;
  for (std::sregex_iterator match(text.begin(), text.end(), kIndex), end; match != end; ++match) {
    const std::string schema = (*match)[2];
    indexes.emplace_back(schema + "." + (*match)[1].str(), schema + "." + (*match)[3].str());
  }
  return indexes;
}

ExpectedDatabase RunDatabase() {
  ExpectedDatabase database{DatabaseKind::Runs, "runs", {}, {}};
  for (const char* table : kRunTables) {
    const auto definition = Definition(table);
    ExpectedTable expected{definition.schema + "." + definition.name, {}, {}, {}};
    for (const auto& column : definition.columns) {
      expected.columns.push_back(column.Name());
      expected.types[column.Name()] = column.Type();
    }
    if (expected.name == "daq.runs") {
      expected.unused = {"nevents", "begin_comment", "end_comment", "shifter"};
    }
    if (expected.name == "dataquality.dqsubruninfo") {
      expected.unused = {"comment", "inserttime", "insertuser"};
    }
    database.tables.push_back(std::move(expected));
  }
  for (const auto& [index, table] : IndexesIn(SqlFile(kRunIndexes))) {
    database.indexes.push_back(index);
  }
  return database;
}

ExpectedDatabase HardwareDatabase(const std::string& detector) {
  const auto isRead = [&](const std::string& table) {
    return detector == "Alder" ? table == kNearHardware : detector == "Birch" && table != kNearHardware;
  };
  ExpectedDatabase database{DatabaseKind::Hardware, "hardware", {}, {}};
  for (auto& table : TablesIn(SqlFile(kHardwareTables))) {
    if (isRead(table.name)) { database.tables.push_back(std::move(table)); }
  }
  for (const auto& [index, table] : IndexesIn(SqlFile(kHardwareIndexes))) {
    if (isRead(table)) { database.indexes.push_back(index); }
  }
  return database;
}

}  // namespace

std::string SqlFile(const std::string& path) {
  for (const auto& folder : dbi::SearchFolders()) {
    std::ifstream file(std::filesystem::path(folder) / path, std::ios::binary);
    if (!file) { continue; }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
  throw std::runtime_error(path + " is neither installed nor on BRIO_SEARCH_PATH");
}

std::vector<ExpectedDatabase> ExpectedDatabases(const std::string& detector) {
  return {RunDatabase(),
          HardwareDatabase(detector),
          {DatabaseKind::DAQConfiguration, "daqconfig", TablesIn(SqlFile(kConfigurationTables)), {}},
          {DatabaseKind::SlowControl, "slowcontrol", TablesIn(SqlFile(kSlowControlTables)), {}}};
}

std::string RunTablesSql() {
  std::string sql = "-- Run tables, by their definitions in RunHistory/tables.\n";
  std::set<std::string> schemas;
  for (const char* table : kRunTables) {
    const auto definition = Definition(table);
    if (schemas.insert(definition.schema).second) {
      sql += "CREATE SCHEMA IF NOT EXISTS " + Quoted(definition.schema) + ";\n";
    }
    const std::string schema = Quoted(definition.schema);
    std::string columns;
    for (const auto& column : definition.columns) {
      columns += (columns.empty() ? "\n  " : ",\n  ") + Quoted(column.Name()) + " " + column.Type();
    }
    sql +=
        "CREATE TABLE IF NOT EXISTS " + schema + "." + Quoted(definition.name) + " (" + columns + "\n);\n\n";
  }
  return sql;
}

}  // namespace brio::tools
