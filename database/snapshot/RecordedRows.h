#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "database/RowView.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// Collects an answer's rows column by column, each value that repeats kept once. Thrown away, it has cost
/// nothing but time.
class BRIO_EXPORT_PRIVATE RecordedRows {
public:
  RecordedRows();
  ~RecordedRows();
  RecordedRows(RecordedRows&&) noexcept;
  RecordedRows& operator=(RecordedRows&&) noexcept;

  /// Copies a row. The first says how many columns there are. \throws cet::exception "BrioDatabase" for a row
  /// with another number of columns.
  void Add(const RowView& row);

  std::uint64_t Count() const { return count_; }
  int Columns() const { return static_cast<int>(columns_.size()); }
  /// One column as a snapshot stores it (docs/snapshots.md).
  std::string EncodedColumn(int column) const;

private:
  class Column;

  std::uint64_t count_ = 0;
  std::vector<std::unique_ptr<Column>> columns_;
};

}  // namespace brio::dbi::snapshot
