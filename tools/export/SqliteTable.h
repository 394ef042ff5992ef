#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include <sqlite3.h>

#include "arrays/Status.h"

namespace brio::tools {

/// Writes records of named fields as an SQLite database with one table, as arrays::RecordWriter writes them
/// in other forms: what is absent is NULL, yes and no are 1 and 0. The database is made in memory. \throws
/// std::runtime_error when SQLite has no room
class SqliteTable {
public:
  SqliteTable(std::ostream& stream, std::string name);
  ~SqliteTable();
  SqliteTable(const SqliteTable&) = delete;
  SqliteTable& operator=(const SqliteTable&) = delete;

  void BeginNames() { columns_.clear(); }
  void EndNames();
  void Begin() { next_ = 0; }
  void End();
  /// Writes the database to the stream.
  void Finish();

  void Add(const char* name, bool value) { AddInteger(name, value ? 1 : 0); }
  void Add(const char* name, int value) { AddInteger(name, value); }
  void Add(const char* name, std::uint32_t value) { AddInteger(name, value); }
  void Add(const char* name, long long value) { AddInteger(name, value); }
  /// The number that the shortest text reads as: 1.245, not 1.2450000047683714.
  void Add(const char* name, float value);
  void Add(const char* name, double value);
  void Add(const char* name, const std::string& value) { AddText(name, value.data(), value.size(), false); }
  /// \param value  one that stays where it is until the record ends
  void Add(const char* name, const char* value);
  void AddNothing(const char* name);
  /// A value where it is known, or replaced by the default, and its status in the field after it.
  template <class T>
  void Add(const char* name, const char* statusName, const T& value, arrays::Status status) {
    const bool isShown = status == arrays::Status::Known || status == arrays::Status::Replaced;
    if (isShown || statement_ == nullptr) {
      Add(name, value);
    } else {
      AddNothing(name);
    }
    Add(statusName, arrays::NameOf(status));
  }
  template <class T>
  void Add(const char* name, const char* statusName, const arrays::Value<T>& value) {
    Add(name, statusName, value.value, value.status);
  }

private:
  void AddInteger(const char* name, long long value);
  void AddText(const char* name, const char* text, std::size_t length, bool stays);
  void AddColumn(const char* name, const char* type);
  void Require(int status) const;
  void Run(const std::string& sql);

  std::ostream& stream_;
  std::string name_;
  std::string columns_;
  int count_ = 0;
  int next_ = 0;
  sqlite3* database_ = nullptr;
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace brio::tools
