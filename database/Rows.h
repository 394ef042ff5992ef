#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "database/Result.h"
#include "database/RowView.h"

namespace brio::dbi {

/// The rows of one answer that was kept whole: libpq's result, or the cells of another source.
class Rows {
public:
  /// None.
  Rows() = default;
  explicit Rows(ResultHandle result)
      : result_(std::move(result)), count_(PQntuples(result_.get())), columns_(PQnfields(result_.get())) {}
  /// \param cells  row by row, `columns` to a row
  /// \param texts  what the cells point into; kept as long as the rows
  Rows(std::vector<Cell> cells, int columns, std::shared_ptr<const void> texts)
      : cells_(std::move(cells)),
        texts_(std::move(texts)),
        count_(columns > 0 ? static_cast<int>(cells_.size() / static_cast<std::size_t>(columns)) : 0),
        columns_(columns) {}

  int Count() const { return count_; }
  int Columns() const { return columns_; }
  RowView At(int row) const {
    if (result_) { return {result_.get(), row}; }
    return {cells_.data() + static_cast<std::ptrdiff_t>(row) * columns_, columns_};
  }

  class Iterator {
  public:
    Iterator(const Rows& rows, int row) : rows_(&rows), row_(row) {}
    RowView operator*() const { return rows_->At(row_); }
    Iterator& operator++() {
      ++row_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return row_ != other.row_; }

  private:
    const Rows* rows_;
    int row_;
  };
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, count_}; }

private:
  ResultHandle result_;
  std::vector<Cell> cells_;
  std::shared_ptr<const void> texts_;
  int count_ = 0;
  int columns_ = 0;
};

/// What became of a statement whose rows are kept whole.
struct Answer {
  bool wasSent = false;
  std::optional<Rows> rows;  ///< nothing when the statement failed, or is not one that returns rows
};

}  // namespace brio::dbi
