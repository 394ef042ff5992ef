#pragma once

#include <libpq-fe.h>

namespace brio::dbi {

/// One value of a row that is not libpq's.
struct Cell {
  const char* text = nullptr;  ///< null for NULL; else `length` bytes with a zero byte after them
  int length = 0;
};

/// One row of an answer, wherever the answer comes from. It neither allocates nor copies: a value is looked
/// up when it is asked for. Valid as long as the row is where it was made from.
///
/// NULL, and a column that the row does not have, read as an empty text; IsNull tells them apart.
class RowView {
public:
  RowView(const PGresult* result, int row) : result_(result), number_(row) {}
  RowView(const Cell* cells, int columns) : cells_(cells), number_(columns) {}

  int Columns() const { return cells_ == nullptr ? PQnfields(result_) : number_; }
  bool IsNull(int column) const {
    return cells_ == nullptr ? PQgetisnull(result_, number_, column) != 0 : At(column).text == nullptr;
  }
  /// Ends with a zero byte, also where the value is binary.
  const char* Text(int column) const {
    const char* text = cells_ == nullptr ? PQgetvalue(result_, number_, column) : At(column).text;
    return text == nullptr ? "" : text;
  }
  /// In bytes; 0 for NULL.
  int Length(int column) const {
    return cells_ == nullptr ? PQgetlength(result_, number_, column) : At(column).length;
  }

private:
  Cell At(int column) const { return column >= 0 && column < number_ ? cells_[column] : Cell(); }

  const PGresult* result_ = nullptr;
  const Cell* cells_ = nullptr;
  int number_;  ///< of the row in libpq's result, of the columns otherwise
};

}  // namespace brio::dbi
