#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <sqlite3.h>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// Owns an open SQLite file.
class BRIO_EXPORT_PRIVATE SQLiteFile {
public:
  /// Opens a file as it is, for reading: no lock, no journal, no look for either. What the file says of
  /// itself is not trusted. \throws SnapshotError
  static SQLiteFile OpenImmutable(const std::string& path);
  /// Opens a file of our own to fill it. Whether it reaches the disk is the caller's business.
  static SQLiteFile OpenToFill(const std::string& path);

  void Run(const std::string& sql);
  std::int64_t LastId() const { return sqlite3_last_insert_rowid(handle_.get()); }
  sqlite3* Handle() const { return handle_.get(); }

private:
  struct Closer {
    void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
  };
  SQLiteFile(const std::string& path, int flags);

  std::unique_ptr<sqlite3, Closer> handle_;
};

/// One statement. What it gives is copied or used before the next Step. \throws SnapshotError from all
/// that can fail
class BRIO_EXPORT_PRIVATE SQLiteQuery {
public:
  SQLiteQuery(const SQLiteFile& file, std::string_view sql);

  SQLiteQuery& Bind(std::int64_t value);
  SQLiteQuery& Bind(const std::string& text);
  /// As bytes, which must outlive the query.
  SQLiteQuery& BindBytes(std::string_view bytes);

  /// \return false when there are no more rows; the query can then be bound and run again
  bool Step();
  /// Whatever rows are left, the query can be bound and run again.
  SQLiteQuery& Reset();
  std::int64_t Number(int column);
  /// A text or bytes, valid until the next Step.
  std::string_view Bytes(int column);
  std::string Text(int column) { return std::string(Bytes(column)); }

private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  void Check(int code);

  sqlite3* handle_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
  int bound_ = 0;
};

}  // namespace brio::dbi::snapshot
