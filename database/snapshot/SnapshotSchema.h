#pragma once

#include <array>
#include <string_view>

namespace brio::dbi::snapshot {

/// In the header of a snapshot (SQLite's application_id): "Brio".
inline constexpr int kApplicationId = 0x4272696F;
/// SQLite's user_version. It changes with the format, with the forms of digests, and with the texts of the
/// statements that the library sends: a snapshot answers only the texts that it was saved with.
inline constexpr int kSnapshotVersion = 1;

/// What the bytes of an answer's blocks are.
enum class AnswerForm {
  Command = 0,  ///< none: the statement returns no rows
  Rows = 1,     ///< columns, one after the other
  Digest = 2    ///< what a reader kept of the rows
};

/// The statements that make the tables, in order, as sqlite_schema keeps them (docs/snapshots.md).
inline constexpr std::array<std::string_view, 13> kSchema{
    "CREATE TABLE snapshot (key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID",
    "CREATE TABLE run (id INTEGER PRIMARY KEY, detector TEXT NOT NULL COLLATE NOCASE, run INTEGER NOT NULL, "
    "state INTEGER NOT NULL, taken TEXT NOT NULL, library TEXT NOT NULL, hash BLOB NOT NULL)",
    "CREATE UNIQUE INDEX run_number ON run (detector, run)",
    "CREATE TABLE run_source (run INTEGER, position INTEGER, database TEXT NOT NULL, host TEXT NOT NULL, "
    "name TEXT NOT NULL, PRIMARY KEY (run, position)) WITHOUT ROWID",
    "CREATE TABLE run_answer (run INTEGER, answer INTEGER, PRIMARY KEY (run, answer)) WITHOUT ROWID",
    "CREATE INDEX answer_run ON run_answer (answer)",
    "CREATE TABLE question (id INTEGER PRIMARY KEY, hash BLOB NOT NULL, detector TEXT NOT NULL COLLATE "
    "NOCASE, "
    "database TEXT NOT NULL, statement TEXT NOT NULL, parameters BLOB NOT NULL, binary INTEGER NOT NULL)",
    "CREATE UNIQUE INDEX question_hash ON question (hash)",
    "CREATE TABLE answer (id INTEGER PRIMARY KEY, question INTEGER NOT NULL, form INTEGER NOT NULL, "
    "rows INTEGER NOT NULL, columns BLOB NOT NULL, digest TEXT NOT NULL, blocks BLOB NOT NULL, hash BLOB NOT "
    "NULL)",
    "CREATE UNIQUE INDEX answer_hash ON answer (hash)",
    "CREATE INDEX question_answer ON answer (question)",
    "CREATE TABLE block (id INTEGER PRIMARY KEY, hash BLOB NOT NULL, size INTEGER NOT NULL, frame BLOB NOT "
    "NULL, data BLOB NOT NULL)",
    "CREATE UNIQUE INDEX block_hash ON block (hash)"};

}  // namespace brio::dbi::snapshot
