#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <libpq-fe.h>

#include "database/ColumnDef.h"
#include "database/PlainText.h"
#include "database/Row.h"
#include "database/RowConsumer.h"
#include "database/Rows.h"
#include "framework/Export.h"

namespace brio::dbi {

class RowDigest;
class Session;
struct Statement;

/// One database table: configured from a definition file, narrowed to a selection, loaded, and read row by
/// row and column by column. The same object lends its connection for hand-written SQL.
///
/// The detector and the table type choose the database (see docs/operators.md for BRIO_DATABASE); type 2 is
/// the hardware database, any other the run database. Within a load of RunHistory all tables of one database
/// share a connection and a read-only transaction; elsewhere a table has a connection of its own, and each
/// Load a read-only transaction on it, unless the client began one. One thread uses a table at a time.
class BRIO_EXPORT Table {
public:
  /// The table type of the hardware database.
  static constexpr int kHardware = 2;

  /// Reads the definition file at a path that is absolute, or relative to the search path
  /// (docs/operators.md).
  /// \throws cet::exception "BrioDatabase" when the file is missing, is no definition or has a column without
  ///         a name or of an unknown type; the message names the file, the line and what is wrong.
  ///         The same for a null pointer.
  explicit Table(const char* definitionFile);
  /// A table without columns, made to hold a connection for hand-written SQL.
  Table();
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  /// Another detector, or another table type, than before gives up a connection that is held.
  void SetDetector(std::string detector);
  void SetTableType(int type);
  /// Overrides the schema that the definition file names.
  void SetSubSchema(std::string schema) { subSchema_ = std::move(schema); }
  /// Log the wall time of every statement, less that of a consumer of its rows, at info severity.
  void SetTimeQueries(bool on) { timeQueries_ = on; }
  /// Log the wall time of turning a statement's rows into Row objects, or of a consumer that takes them one
  /// by one, at info severity.
  void SetTimeParsing(bool on) { timeParsing_ = on; }
  /// Adds a column that Load does not fetch; its values are absent, its index stays.
  void AddExcludeCol(std::string name) { excluded_.push_back(std::move(name)); }
  /// Appends a column to sort by. \return true
  bool AddOrderColumn(std::string name);
  /// The same. \throws cet::exception "BrioDatabase" for a null pointer.
  bool AddOrderColumn(const char* name);
  /// Sorts descending, NULLs last; there is no way back.
  void SetOrderDesc() { orderDescending_ = true; }

  /// Restricts Load to rows whose column lies between two values, both included; a second call for the same
  /// column replaces the first.
  /// \return false, with both lists unchanged, when there is no such column, or when it is of type "bool" and
  ///         the bounds differ. Load fails as long as this was refused and no other restriction is in effect,
  ///         so that a selection gone wrong never fetches a whole table.
  template <class T>
  bool SetValidityRange(const std::string& column, T lower, T upper);
  template <class T>
  bool SetValidityRange(const std::string& column, T value) {
    return SetValidityRange<T>(column, value, value);
  }
  const std::vector<ColumnDef>& ValidityLower() const { return validityLower_; }
  const std::vector<ColumnDef>& ValidityUpper() const { return validityUpper_; }
  bool HasValidityRange() const { return hasValidityRange_; }

  /// Position of a column in the definition, from 0; -1 when there is no such column.
  int GetColIndex(const std::string& name) const;
  std::map<std::string, int> GetColNameToIndexMap() const;
  /// The definition of a column; null when there is no such column.
  ColumnDef* GetCol(const std::string& name);

  /// Fetches the rows, in one statement and with a single connection attempt.
  /// \return false, with no rows, on any failure; the reason is logged at error severity, category
  ///         "BrioDatabase".
  bool Load();
  /// Number of loaded rows; 0 before a successful load.
  int NRow() const { return static_cast<int>(rows_.size()); }
  /// A loaded row; null when there is no such row. Valid until the table is loaded again or destroyed.
  const Row* GetRow(int index) const;

  /// Makes sure that a connection is open. Failures that can pass (refused, starting up, too many clients,
  /// time-out) are tried again up to `retries` times, with pauses between; others are final at once.
  bool GetConnection(int retries);
  /// Runs one statement on the open connection, as that has it (outside a load without a transaction and
  /// settings of ours), and hands over its result, which the caller frees with
  /// PQclear.
  /// \param columns  how many the rows must have; other rows are a failed statement. 0 takes any, so that the
  ///                 caller has to look (PQnfields) before it reads a value
  /// \return false, with a null result, only when the statement could not be sent. When the server answered
  ///         with an error, or the connection was lost or timed out after sending, the result has the status
  ///         PGRES_FATAL_ERROR.
  bool ExecuteSQL(std::string statement, PGresult*& result, int columns = 0);
  /// The same for rows too many to keep: gives them to `take` as they arrive, also those before a failure.
  /// The result has none. While it gives rows the connection takes no other statement (false, with an error
  /// logged), and the table must live on.
  bool ExecuteSQL(std::string statement, const RowConsumer& take, PGresult*& result, int columns = 0);
  /// How many rows the last statement gave to its consumer.
  long RowsGiven() const { return rowsGiven_; }
  /// The same for a consumer that a source may give what it once kept of the rows. \param rows  how many the
  /// server gave, or once gave
  bool ExecuteSQL(std::string statement, RowDigest& digest, long& rows, PGresult*& result, int columns = 0);
  /// The same for a reader who does not need libpq's form of the rows. `rows` is nothing when the statement
  /// failed, or is not one that returns rows.
  bool ExecuteSQL(std::string statement, std::optional<Rows>& rows, int columns = 0);
  /// Gives the connection up; harmless when there is none.
  void CloseConnection();

private:
  bool SetValidityText(const std::string& column, const std::string& lower, const std::string& upper);
  void ForgetRows();
  void MakeRows();
  Statement SelectStatement() const;
  std::string QuotedName() const;
  template <class Result, class Run>
  Result Timed(Run run);

  std::vector<ColumnDef> columns_;
  std::string definitionFile_;
  std::string schema_;
  std::string name_;
  std::string detector_;
  std::string subSchema_;
  int type_ = 0;
  bool timeQueries_ = false;
  bool timeParsing_ = false;
  std::vector<std::string> excluded_;
  std::vector<std::string> order_;
  bool orderDescending_ = false;
  std::vector<ColumnDef> validityLower_;
  std::vector<ColumnDef> validityUpper_;
  bool hasValidityRange_ = false;
  std::optional<std::string> refusedRange_;
  Rows answer_;
  std::vector<Column> cells_;
  std::vector<Row> rows_;
  std::shared_ptr<Session> session_;
  long rowsGiven_ = 0;
};

template <class T>
bool Table::SetValidityRange(const std::string& column, T lower, T upper) {
  // In fixed notation with six digits where T is no integer; the sign makes a number of a character.
  return SetValidityText(column, PlainText(std::fixed, +lower), PlainText(std::fixed, +upper));
}

}  // namespace brio::dbi
