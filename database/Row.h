#pragma once

#include <cstddef>

#include "database/Column.h"

namespace brio::dbi {

/// One loaded row: a column for each column of the table's definition, in definition order. A view, valid as
/// long as its columns.
class Row {
public:
  Row(const Column* columns, std::size_t size) : columns_(columns), size_(size) {}

  /// The column at a position given by Table::GetColIndex; an absent value for a position outside the row.
  const Column& Col(int index) const {
    static const Column kAbsent;
    return index >= 0 && static_cast<std::size_t>(index) < size_ ? columns_[index] : kAbsent;
  }

private:
  const Column* columns_;
  std::size_t size_;
};

}  // namespace brio::dbi
