#include "database/Table.h"

#include <algorithm>
#include <chrono>

#include "database/LoadScopeSessions.h"
#include "database/Quoted.h"
#include "database/Session.h"
#include "database/TableDefinition.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

double MillisecondsSince(Clock::time_point start) { return Milliseconds(Clock::now() - start); }

bool Contains(const std::vector<std::string>& list, const std::string& text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

}  // namespace

Table::Table() = default;

Table::Table(const char* definitionFile) : Table() {
  if (definitionFile == nullptr) {
    throw cet::exception("BrioDatabase")
        << "a table was asked for with a null pointer for its definition file";
  }
  TableDefinition definition = ReadTableDefinition(definitionFile);
  columns_ = std::move(definition.columns);
  definitionFile_ = std::move(definition.file);
  schema_ = std::move(definition.schema);
  name_ = std::move(definition.name);
}

Table::~Table() = default;

void Table::SetDetector(std::string detector) {
  if (detector != detector_) { CloseConnection(); }
  detector_ = std::move(detector);
}

void Table::SetTableType(int type) {
  if (type != type_) { CloseConnection(); }
  type_ = type;
}

bool Table::AddOrderColumn(std::string name) {
  order_.push_back(std::move(name));
  return true;
}

bool Table::AddOrderColumn(const char* name) {
  if (name == nullptr) {
    throw cet::exception("BrioDatabase")
        << "the table \"" << name_ << "\" was given a null pointer for a column to sort by";
  }
  return AddOrderColumn(std::string(name));
}

bool Table::SetValidityText(const std::string& column, const std::string& lower, const std::string& upper) {
  const ColumnDef* definition = GetCol(column);
  if (definition == nullptr || (definition->Type() == "bool" && lower != upper)) {
    if (!refusedRange_) { refusedRange_ = column; }
    return false;
  }
  const auto found = std::find_if(validityLower_.begin(), validityLower_.end(),
                                  [&](const ColumnDef& bound) { return bound.Name() == column; });
  const auto index = static_cast<std::size_t>(found - validityLower_.begin());
  if (found == validityLower_.end()) {
    validityLower_.push_back(*definition);
    validityUpper_.push_back(*definition);
  }
  validityLower_[index].SetValue(lower);
  validityUpper_[index].SetValue(upper);
  hasValidityRange_ = true;
  return true;
}

int Table::GetColIndex(const std::string& name) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [&](const ColumnDef& column) { return column.Name() == name; });
  if (found == columns_.end()) {
    LogError("BrioDatabase") << definitionFile_ << ": the table \"" << name_ << "\" has no column \"" << name
                             << "\"";
    return -1;
  }
  return static_cast<int>(found - columns_.begin());
}

std::map<std::string, int> Table::GetColNameToIndexMap() const {
  std::map<std::string, int> indexes;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    indexes[columns_[i].Name()] = static_cast<int>(i);
  }
  return indexes;
}

ColumnDef* Table::GetCol(const std::string& name) {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [&](const ColumnDef& column) { return column.Name() == name; });
  return found == columns_.end() ? nullptr : &*found;
}

const Row* Table::GetRow(int index) const {
  return index >= 0 && index < NRow() ? &rows_[static_cast<std::size_t>(index)] : nullptr;
}

void Table::ForgetRows() {
  rows_.clear();
  cells_.clear();
  answer_ = Rows();
}

std::string Table::QuotedName() const {
  const std::string& schema = subSchema_.empty() ? schema_ : subSchema_;
  return (schema.empty() ? std::string() : Quoted(schema) + ".") + Quoted(name_);
}

Statement Table::SelectStatement() const {
  Statement statement;
  statement.onlyReads = true;
  std::string& select = statement.text;
  select = "SELECT ";
  for (const auto& column : columns_) {
    if (Contains(excluded_, column.Name())) { continue; }
    select += (statement.columns == 0 ? "" : ", ") + Quoted(column.Name());
    ++statement.columns;
  }
  select += " FROM " + QuotedName();
  const auto parameter = [&](const ColumnDef& bound) {
    statement.parameters.push_back(bound.Value());
    return "$" + std::to_string(statement.parameters.size());
  };
  for (std::size_t i = 0; i < validityLower_.size(); ++i) {
    const std::string column = Quoted(validityLower_[i].Name());
    select += (i == 0 ? " WHERE " : " AND ") + column;
    if (validityLower_[i].Value() == validityUpper_[i].Value()) {
      select += " = " + parameter(validityLower_[i]);
    } else {
      select += " >= " + parameter(validityLower_[i]);
      select += " AND " + column + " <= " + parameter(validityUpper_[i]);
    }
  }
  for (std::size_t i = 0; i < order_.size(); ++i) {
    select +=
        (i == 0 ? " ORDER BY " : ", ") + Quoted(order_[i]) + (orderDescending_ ? " DESC NULLS LAST" : "");
  }
  return statement;
}

bool Table::Load() {
  ForgetRows();
  if (columns_.empty()) {
    LogError("BrioDatabase") << "a table without a definition cannot be loaded";
    return false;
  }
  if (refusedRange_ && validityLower_.empty()) {
    LogError("BrioDatabase") << definitionFile_ << ": the table \"" << name_
                             << "\" cannot be restricted by a column \"" << *refusedRange_ << "\"";
    return false;
  }
  if (!GetConnection(0)) { return false; }
  const Statement statement = SelectStatement();
  const auto start = Clock::now();
  Answer answer = session_->Ask(statement);
  if (timeQueries_) {
    LogInfo("BrioDatabase") << "query took " << MillisecondsSince(start) << " ms: " << statement.text;
  }
  if (!answer.rows) { return false; }
  answer_ = std::move(*answer.rows);
  MakeRows();
  return true;
}

void Table::MakeRows() {
  const auto start = Clock::now();
  const auto nRows = static_cast<std::size_t>(answer_.Count());
  cells_.resize(nRows * columns_.size());
  rows_.reserve(nRows);
  for (std::size_t row = 0; row < nRows; ++row) {
    Column* cells = &cells_[row * columns_.size()];
    const RowView values = answer_.At(static_cast<int>(row));
    int field = 0;
    for (std::size_t column = 0; column < columns_.size(); ++column) {
      if (Contains(excluded_, columns_[column].Name())) { continue; }
      if (!values.IsNull(field)) { cells[column] = Column(values.Text(field)); }
      ++field;
    }
    rows_.emplace_back(cells, columns_.size());
  }
  if (timeParsing_) {
    LogInfo("BrioDatabase") << "parsing " << nRows << " rows of " << QuotedName() << " took "
                            << MillisecondsSince(start) << " ms";
  }
}

bool Table::GetConnection(int retries) {
  if (session_ && session_->IsUsable()) { return true; }
  session_ =
      AcquireSession(detector_, type_ == kHardware ? DatabaseKind::Hardware : DatabaseKind::Runs, retries);
  return session_ != nullptr;
}

/// What a statement on the session gives; without a session a result that says it was not sent.
template <class Result, class Run>
Result Table::Timed(Run run) {
  // A consumer may make the table give its connection up.
  const auto session = session_;
  if (!session) { return Result(); }
  const auto start = Clock::now();
  Result result = run(*session);
  const GivenRows given = session->LastGiven();
  rowsGiven_ = given.count;
  if (timeQueries_) {
    LogInfo("BrioDatabase") << "query took " << Milliseconds(Clock::now() - start - given.taken) << " ms";
  }
  if (given.count > 0 && (timeParsing_ || loadscope::TimesParsing())) {
    LogInfo("BrioDatabase") << "parsing " << given.count << " rows took " << Milliseconds(given.taken)
                            << " ms";
  }
  return result;
}

bool Table::ExecuteSQL(std::string statement, PGresult*& result, int columns) {
  result = nullptr;
  result = Timed<ResultHandle>([&](Session& session) {
             return session.Execute({std::move(statement), {}, false, columns});
           }).release();
  return result != nullptr;
}

bool Table::ExecuteSQL(std::string statement, const RowConsumer& take, PGresult*& result, int columns) {
  result = nullptr;
  result = Timed<ResultHandle>([&](Session& session) {
             return session.ExecuteByRow({std::move(statement), {}, false, columns}, take);
           }).release();
  return result != nullptr;
}

bool Table::ExecuteSQL(std::string statement, RowDigest& digest, long& rows, PGresult*& result, int columns) {
  rows = 0;
  result = nullptr;
  result = Timed<ResultHandle>([&](Session& session) {
             auto end = session.ExecuteByRow({std::move(statement), {}, false, columns}, digest);
             rows = session.LastGiven().count;
             return end;
           }).release();
  return result != nullptr;
}

bool Table::ExecuteSQL(std::string statement, std::optional<Rows>& rows, int columns) {
  auto answer = Timed<Answer>([&](Session& session) {
    return session.Ask({std::move(statement), {}, false, columns});
  });
  rows = std::move(answer.rows);
  return answer.wasSent;
}

void Table::CloseConnection() { session_.reset(); }

}  // namespace brio::dbi
