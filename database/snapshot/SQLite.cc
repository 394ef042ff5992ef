#include "database/snapshot/SQLite.h"

#include "database/StandardDescriptors.h"
#include "database/snapshot/Blocks.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {
namespace {

// A tree whose pages lead round in circles ends too: no question to a snapshot takes a hundredth of this.
constexpr int kInstructionsBetweenChecks = 100'000;
constexpr int kMostChecks = 2000;

constexpr int kLongestValue = static_cast<int>(kLargestBlock) + (1 << 20);

/// As a URI, in which "?" and "#" would end the path.
std::string ImmutableURI(const std::string& path) {
  static const char* const kDigits = "0123456789ABCDEF";
  std::string uri = path.front() == '/' ? "file://" : "file:";
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                         (byte >= '0' && byte <= '9') || byte == '/' || byte == '.' || byte == '-' ||
                         byte == '_';
    if (isPlain) {
      uri += character;
    } else {
      uri += '%';
      uri += kDigits[byte >> 4U];
      uri += kDigits[byte & 15U];
    }
  }
  return uri + "?mode=ro&immutable=1";
}

int GiveUp(void* checks) { return ++*static_cast<int*>(checks) > kMostChecks ? 1 : 0; }

}  // namespace

SQLiteFile::SQLiteFile(const std::string& path, int flags) {
  const StandardDescriptorsTaken taken;
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) {
    throw SnapshotError(std::string("cannot be opened: ") +
                        (handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(code)));
  }
}

SQLiteFile SQLiteFile::OpenImmutable(const std::string& path) {
  SQLiteFile file(ImmutableURI(path), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  sqlite3* handle = file.Handle();
  for (const int off : {SQLITE_DBCONFIG_TRUSTED_SCHEMA, SQLITE_DBCONFIG_ENABLE_TRIGGER,
                        SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION}) {
    sqlite3_db_config(handle, off, 0, nullptr);
  }
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, kLongestValue);
  sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
  file.Run(
      "PRAGMA cell_size_check=ON; PRAGMA mmap_size=0; PRAGMA cache_size=-256; PRAGMA temp_store=MEMORY; "
      "PRAGMA query_only=ON");
  return file;
}

SQLiteFile SQLiteFile::OpenToFill(const std::string& path) {
  SQLiteFile file(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  // Nobody else knows the file yet, and one that is not finished is thrown away.
  file.Run(
      "PRAGMA locking_mode=EXCLUSIVE; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; "
      "PRAGMA temp_store=MEMORY");
  return file;
}

void SQLiteFile::Run(const std::string& sql) {
  if (sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    throw SnapshotError(sqlite3_errmsg(handle_.get()));
  }
}

SQLiteQuery::SQLiteQuery(const SQLiteFile& file, std::string_view sql) : handle_(file.Handle()) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v2(handle_, sql.data(), static_cast<int>(sql.size()), &statement, nullptr);
  statement_.reset(statement);
  Check(code);
}

void SQLiteQuery::Check(int code) {
  if (code != SQLITE_OK) { throw SnapshotError(sqlite3_errmsg(handle_)); }
}

SQLiteQuery& SQLiteQuery::Bind(std::int64_t value) {
  Check(sqlite3_bind_int64(statement_.get(), ++bound_, value));
  return *this;
}

SQLiteQuery& SQLiteQuery::Bind(const std::string& text) {
  Check(sqlite3_bind_text64(statement_.get(), ++bound_, text.data(), text.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8));
  return *this;
}

SQLiteQuery& SQLiteQuery::BindBytes(std::string_view bytes) {
  Check(sqlite3_bind_blob64(statement_.get(), ++bound_, bytes.empty() ? "" : bytes.data(), bytes.size(),
                            SQLITE_STATIC));
  return *this;
}

bool SQLiteQuery::Step() {
  int checks = 0;
  sqlite3_progress_handler(handle_, kInstructionsBetweenChecks, GiveUp, &checks);
  const int code = sqlite3_step(statement_.get());
  sqlite3_progress_handler(handle_, 0, nullptr, nullptr);
  if (code == SQLITE_ROW) { return true; }
  if (code != SQLITE_DONE) { throw SnapshotError(sqlite3_errmsg(handle_)); }
  Reset();
  return false;
}

SQLiteQuery& SQLiteQuery::Reset() {
  bound_ = 0;
  Check(sqlite3_reset(statement_.get()));
  return *this;
}

std::int64_t SQLiteQuery::Number(int column) { return sqlite3_column_int64(statement_.get(), column); }

std::string_view SQLiteQuery::Bytes(int column) {
  const void* bytes = sqlite3_column_blob(statement_.get(), column);
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return bytes == nullptr ? std::string_view()
                          : std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
}

}  // namespace brio::dbi::snapshot
