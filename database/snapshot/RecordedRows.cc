#include "database/snapshot/RecordedRows.h"

#include <cstring>
#include <deque>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "database/LittleEndian.h"
#include "database/snapshot/StoredColumn.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {

/// The distinct values, each with its zero byte, behind one another; for each row the number of its own.
class RecordedRows::Column {
public:
  void Add(const RowView& row, int column);
  std::string Encoded() const;

private:
  std::string_view ValueAt(std::size_t number) const {
    return {texts_[number].data(), texts_[number].size() - 1};
  }
  void AppendValues(std::string& bytes, const std::vector<std::uint32_t>& numbers) const;

  std::unordered_map<std::string_view, std::uint32_t> numbers_;
  std::deque<std::string> texts_;  ///< each with a zero byte at its end; empty for NULL
  std::uint32_t null_ = kNullLength;
  std::vector<std::uint32_t> codes_;
};

void RecordedRows::Column::Add(const RowView& row, int column) {
  const auto next = static_cast<std::uint32_t>(texts_.size());
  if (row.IsNull(column)) {
    if (null_ == kNullLength) {
      null_ = next;
      texts_.emplace_back();
    }
    codes_.push_back(null_);
    return;
  }
  const std::string_view value(row.Text(column), static_cast<std::size_t>(row.Length(column)));
  const auto found = numbers_.find(value);
  if (found != numbers_.end()) {
    codes_.push_back(found->second);
    return;
  }
  texts_.emplace_back(value.data(), value.size() + 1);
  numbers_.emplace(ValueAt(next), next);
  codes_.push_back(next);
}

void RecordedRows::Column::AppendValues(std::string& bytes, const std::vector<std::uint32_t>& numbers) const {
  for (const auto number : numbers) {
    const auto length = static_cast<std::uint32_t>(texts_[number].size() - 1);
    littleendian::Append(bytes, number == null_ ? kNullLength : length);
  }
  for (const auto number : numbers) {
    bytes += texts_[number];
  }
}

/// A dictionary pays where distinct values are few.
std::string RecordedRows::Column::Encoded() const {
  const std::size_t distinct = texts_.size();
  std::string bytes;
  if (distinct >= codes_.size() / 4) {
    bytes += static_cast<char>(ColumnCoding::Values);
    AppendValues(bytes, codes_);
    return bytes;
  }
  bytes += static_cast<char>(ColumnCoding::Dictionary);
  littleendian::Append(bytes, static_cast<std::uint32_t>(distinct));
  std::vector<std::uint32_t> all(distinct);
  for (std::size_t i = 0; i < distinct; ++i) {
    all[i] = static_cast<std::uint32_t>(i);
  }
  AppendValues(bytes, all);
  switch (CodeWidth(distinct)) {
    case 1: bytes.append(codes_.begin(), codes_.end()); break;
    case 2:
      for (const auto code : codes_) {
        littleendian::Append(bytes, static_cast<std::uint16_t>(code));
      }
      break;
    default: littleendian::Append(bytes, codes_.data(), codes_.size());
  }
  return bytes;
}

RecordedRows::RecordedRows() = default;
RecordedRows::~RecordedRows() = default;
RecordedRows::RecordedRows(RecordedRows&&) noexcept = default;
RecordedRows& RecordedRows::operator=(RecordedRows&&) noexcept = default;

void RecordedRows::Add(const RowView& row) {
  if (count_ == 0) {
    for (int i = 0; i < row.Columns(); ++i) {
      columns_.push_back(std::make_unique<Column>());
    }
  }
  if (row.Columns() != Columns()) {
    throw cet::exception("BrioDatabase")
        << "a row of " << row.Columns() << " columns follows rows of " << Columns();
  }
  for (int i = 0; i < row.Columns(); ++i) {
    columns_[static_cast<std::size_t>(i)]->Add(row, i);
  }
  ++count_;
}

std::string RecordedRows::EncodedColumn(int column) const {
  return columns_.at(static_cast<std::size_t>(column))->Encoded();
}

}  // namespace brio::dbi::snapshot
