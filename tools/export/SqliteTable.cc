#include "tools/export/SqliteTable.h"

#include <cmath>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <utility>

#include "tools/shared/Format.h"

namespace brio::tools {

SqliteTable::SqliteTable(std::ostream& stream, std::string name) : stream_(stream), name_(std::move(name)) {
  try {
    Require(sqlite3_open(":memory:", &database_));
  } catch (...) {
    sqlite3_close(database_);
    throw;
  }
}

SqliteTable::~SqliteTable() {
  sqlite3_finalize(statement_);
  sqlite3_close(database_);
}

void SqliteTable::Require(int status) const {
  if (status == SQLITE_OK || status == SQLITE_DONE) { return; }
  throw std::runtime_error(std::string("SQLite: ") +
                           (database_ == nullptr ? sqlite3_errstr(status) : sqlite3_errmsg(database_)));
}

void SqliteTable::Run(const std::string& sql) {
  Require(sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr));
}

void SqliteTable::AddColumn(const char* name, const char* type) {
  columns_ += (columns_.empty() ? "\"" : ", \"") + std::string(name) + "\" " + type;
  ++count_;
}

void SqliteTable::EndNames() {
  Run("CREATE TABLE \"" + name_ + "\" (" + columns_ + ')');
  std::string values = "?";
  for (int i = 1; i < count_; ++i) {
    values += ",?";
  }
  const std::string insert = "INSERT INTO \"" + name_ + "\" VALUES (" + values + ')';
  Require(sqlite3_prepare_v2(database_, insert.c_str(), -1, &statement_, nullptr));
  Run("BEGIN");
}

void SqliteTable::End() {
  Require(sqlite3_step(statement_));
  Require(sqlite3_reset(statement_));
}

void SqliteTable::Finish() {
  Run("COMMIT");
  sqlite3_int64 size = 0;
  const std::unique_ptr<unsigned char, decltype(&sqlite3_free)> whole(
      sqlite3_serialize(database_, "main", &size, 0), &sqlite3_free);
  if (!whole) { throw std::runtime_error("SQLite: out of memory"); }
  // A char may be looked at whatever was stored.
  stream_.write(reinterpret_cast<const char*>(whole.get()), static_cast<std::streamsize>(size));
}

void SqliteTable::AddInteger(const char* name, long long value) {
  if (statement_ == nullptr) { return AddColumn(name, "INTEGER"); }
  Require(sqlite3_bind_int64(statement_, ++next_, value));
}

void SqliteTable::Add(const char* name, double value) {
  if (statement_ == nullptr) { return AddColumn(name, "REAL"); }
  // SQLite takes what is no number for NULL; infinity is left out as in the other forms.
  if (!std::isfinite(value)) { return AddNothing(name); }
  Require(sqlite3_bind_double(statement_, ++next_, value));
}

void SqliteTable::Add(const char* name, float value) {
  if (statement_ == nullptr || !std::isfinite(value)) { return Add(name, static_cast<double>(value)); }
  Add(name, ShortestValue(value));
}

void SqliteTable::Add(const char* name, const char* value) {
  AddText(name, value, std::char_traits<char>::length(value), true);
}

void SqliteTable::AddText(const char* name, const char* text, std::size_t length, bool stays) {
  if (statement_ == nullptr) { return AddColumn(name, "TEXT"); }
  Require(sqlite3_bind_text64(statement_, ++next_, text, length, stays ? SQLITE_STATIC : SQLITE_TRANSIENT,
                              SQLITE_UTF8));
}

void SqliteTable::AddNothing(const char* name) {
  if (statement_ == nullptr) { return AddColumn(name, "REAL"); }
  Require(sqlite3_bind_null(statement_, ++next_));
}

}  // namespace brio::tools
