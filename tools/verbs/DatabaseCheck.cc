#include "tools/verbs/DatabaseCheck.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <set>

#include "database/LoadScope.h"
#include "tools/shared/Console.h"
#include "tools/shared/Progress.h"

namespace brio::tools {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kAboutStatement =
    "SELECT current_setting('server_version'), current_setting('default_transaction_read_only'), "
    "pg_is_in_recovery(), current_database(), current_user";
constexpr const char* kColumnsStatement =
    "SELECT n.nspname || '.' || c.relname, a.attname, has_schema_privilege(n.oid, 'USAGE') AND "
    "has_column_privilege(c.oid, a.attnum, 'SELECT'), pg_catalog.format_type(a.atttypid, NULL) "
    "FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
    "JOIN pg_catalog.pg_attribute a ON a.attrelid = c.oid "
    "WHERE c.relkind IN ('r', 'p', 'v', 'm', 'f') AND a.attnum > 0 AND NOT a.attisdropped "
    "AND n.nspname || '.' || c.relname = ANY ($1::text[])";
constexpr const char* kIndexesStatement =
    "SELECT n.nspname || '.' || c.relname FROM pg_catalog.pg_class c "
    "JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
    "WHERE c.relkind IN ('i', 'I') AND n.nspname || '.' || c.relname = ANY ($1::text[])";
// Within the load, so on the path that the library's own statements have. The owner and superusers may do
// anything anyway.
constexpr const char* kCreatorsStatement =
    "WITH creators AS ("
    "SELECT 'objects in schema ' || n.nspname AS what, n.nspowner AS owner, a.grantee, a.privilege_type "
    "FROM pg_catalog.pg_namespace n, pg_catalog.aclexplode(n.nspacl) a "
    "WHERE n.nspname = ANY (pg_catalog.current_schemas(false)) "
    "UNION ALL "
    "SELECT 'schemas in database ' || d.datname, d.datdba, a.grantee, a.privilege_type "
    "FROM pg_catalog.pg_database d, pg_catalog.aclexplode(d.datacl) a "
    "WHERE d.datname = pg_catalog.current_database()) "
    "SELECT CASE grantee WHEN 0 THEN 'every role' ELSE pg_catalog.pg_get_userbyid(grantee) END "
    "|| ' may create ' || what "
    "FROM creators WHERE privilege_type = 'CREATE' AND grantee <> owner "
    "AND NOT EXISTS (SELECT FROM pg_catalog.pg_roles r WHERE r.oid = grantee AND r.rolsuper) ORDER BY 1";
constexpr const char* kPositionStatement =
    "SELECT n.nspname FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
    "WHERE c.oid = pg_catalog.to_regclass('hardware_position')";

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// Names of tables and indexes are plain: they come from the project's own files.
std::string ArrayOf(const std::vector<std::string>& names) {
  std::string text;
  for (const auto& name : names) {
    text += (text.empty() ? "" : ",") + name;
  }
  return "{" + text + "}";
}

/// A type's name, one for all types whose texts read alike.
std::string KindOf(const std::string& type) {
  static const std::map<std::string, std::string> kKinds{{"timestamp without time zone", "timestamp"},
                                                         {"smallint", "number"},
                                                         {"integer", "number"},
                                                         {"bigint", "number"},
                                                         {"real", "number"},
                                                         {"double precision", "number"},
                                                         {"numeric", "number"},
                                                         {"character varying", "text"},
                                                         {"character", "text"},
                                                         {"name", "text"},
                                                         {"bool", "boolean"}};
  const auto found = kKinds.find(type);
  return found != kKinds.end() ? found->second : type;
}

struct FoundColumn {
  bool isReadable = false;
  std::string type;
};
using FoundColumns = std::map<std::string, FoundColumn>;

void CompareColumns(const ExpectedTable& table, const FoundColumns& columns, DatabaseCheck& check) {
  std::vector<std::string> unreadable;
  for (const auto& column : table.columns) {
    const std::string name = table.name + "." + column;
    const bool isNeeded = table.unused.count(column) == 0;
    const auto found = columns.find(column);
    if (found == columns.end()) {
      check.missingColumns.push_back(name);
      check.lacksNeeded |= isNeeded;
      continue;
    }
    if (!found->second.isReadable) {
      unreadable.push_back(name);
      check.lacksNeeded |= isNeeded;
    }
    const auto type = table.types.find(column);
    if (type != table.types.end() && KindOf(type->second) != KindOf(found->second.type)) {
      check.wrongTypes.push_back(name + " is " + found->second.type + ", not " + type->second);
      check.lacksNeeded |= isNeeded;
    }
  }
  if (!unreadable.empty() && unreadable.size() == table.columns.size()) { unreadable = {table.name}; }
  check.unreadable.insert(check.unreadable.end(), unreadable.begin(), unreadable.end());
}

void CompareTables(const PGresult* rows, const ExpectedDatabase& expected, DatabaseCheck& check) {
  std::map<std::string, FoundColumns> found;
  for (int row = 0; row < PQntuples(rows); ++row) {
    found[PQgetvalue(rows, row, 0)][PQgetvalue(rows, row, 1)] = {*PQgetvalue(rows, row, 2) == 't',
                                                                 PQgetvalue(rows, row, 3)};
  }
  for (const auto& table : expected.tables) {
    const auto there = found.find(table.name);
    if (there == found.end()) {
      check.missingTables.push_back(table.name);
      check.lacksNeeded = true;
      continue;
    }
    CompareColumns(table, there->second, check);
  }
}

/// The texts of a statement's first column; nothing when it failed.
std::optional<std::vector<std::string>> Texts(brio::dbi::Session& session, const char* statement) {
  const auto rows = session.Execute({statement, {}});
  if (PQresultStatus(rows.get()) != PGRES_TUPLES_OK) { return std::nullopt; }
  std::vector<std::string> texts;
  texts.reserve(static_cast<std::size_t>(PQntuples(rows.get())));
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    texts.emplace_back(PQgetvalue(rows.get(), row, 0));
  }
  return texts;
}

/// What stands where the library looks for names without a schema, and who may put something there.
/// \return false when the server did not answer
bool LookAtPath(brio::dbi::Session& session, const ExpectedDatabase& expected, DatabaseCheck& check) {
  const auto creators = Texts(session, kCreatorsStatement);
  if (!creators) { return false; }
  check.warnings = *creators;
  const auto isPosition = [](const ExpectedTable& table) { return table.name == "public.hardware_position"; };
  if (std::none_of(expected.tables.begin(), expected.tables.end(), isPosition)) { return true; }
  const auto schema = Texts(session, kPositionStatement);
  if (!schema) { return false; }
  if (schema->empty()) {
    check.warnings.emplace_back("hardware_position is in no schema where this role finds it");
  } else {
    check.positionSchema = schema->front();
  }
  return true;
}

/// \return false when the server did not answer
bool Look(brio::dbi::Session& session, const ExpectedDatabase& expected, DatabaseCheck& check) {
  const auto about = session.Execute({kAboutStatement, {}, false, 5});
  if (PQresultStatus(about.get()) != PGRES_TUPLES_OK) { return false; }
  const std::string version = PQgetvalue(about.get(), 0, 0);
  check.version = version.substr(0, version.find(' '));  // without the packager's own
  check.isStandby = *PQgetvalue(about.get(), 0, 2) == 't';
  check.isReadOnly = check.isStandby || std::string(PQgetvalue(about.get(), 0, 1)) == "on";
  check.database = PQgetvalue(about.get(), 0, 3);
  check.user = PQgetvalue(about.get(), 0, 4);

  std::vector<std::string> tables;
  for (const auto& table : expected.tables) {
    tables.push_back(table.name);
  }
  const auto columns = session.Execute({kColumnsStatement, {ArrayOf(tables)}, false, 4});
  const auto indexes = session.Execute({kIndexesStatement, {ArrayOf(expected.indexes)}, false, 1});
  if (PQresultStatus(columns.get()) != PGRES_TUPLES_OK || PQresultStatus(indexes.get()) != PGRES_TUPLES_OK) {
    return false;
  }
  CompareTables(columns.get(), expected, check);
  std::set<std::string> there;
  for (int row = 0; row < PQntuples(indexes.get()); ++row) {
    there.insert(PQgetvalue(indexes.get(), row, 0));
  }
  for (const auto& index : expected.indexes) {
    if (there.count(index) == 0) { check.missingIndexes.push_back(index); }
  }
  return LookAtPath(session, expected, check);
}

}  // namespace

DatabaseCheck CheckDatabase(const std::string& detector, const ExpectedDatabase& expected, int retries) {
  const Progress progress(std::string("connecting to ") + expected.name);
  DatabaseCheck check;
  check.name = expected.name;
  check.tables = static_cast<int>(expected.tables.size());
  check.indexes = static_cast<int>(expected.indexes.size());
  check.connection = Attempt([&] {
    // Its transaction writes nothing, whatever stands in the place of a table.
    const brio::dbi::LoadScope readOnly;
    auto start = Clock::now();
    const auto session = brio::dbi::AcquireSession(detector, expected.kind, retries);
    check.connectMilliseconds = MillisecondsSince(start);
    if (!session) { return false; }
    start = Clock::now();
    const bool looked = Look(*session, expected, check);
    check.lookMilliseconds = MillisecondsSince(start);
    session->Close();
    return looked;
  });
  return check;
}

std::vector<LoadStep> TryLoading(brio::dbi::RunHistory& history) {
  const Progress progress("loading " + NameOf(history));
  const brio::dbi::LoadScope oneSnapshot;
  std::vector<LoadStep> steps;
  const auto take = [&](const char* name, const std::function<bool()>& load) {
    if (!steps.empty() && !steps.back().outcome.ok) { return; }
    const auto start = Clock::now();
    auto outcome = Attempt(load);
    // A loader that goes on without what it could not read has not loaded the run.
    outcome.ok = outcome.IsClean();
    steps.push_back({name, outcome, MillisecondsSince(start), false});
  };
  bool isMissing = false;
  take("run record", [&] {
    isMissing = !LoadRunRecord(history);
    return !isMissing;
  });
  if (isMissing) {
    steps.back().isMissing = true;
    steps.back().outcome.reason = "there is no such run";
  }
  take("hardware", [&] { return LoadHardware(history); });
  take("configuration", [&] { return history.LoadPixelInfo(0); });
  take("settings", [&] { return history.LoadAPDSettings(); });
  return steps;
}

}  // namespace brio::tools
