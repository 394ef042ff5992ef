#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "database/LittleEndian.h"
#include "database/RowView.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// The first byte of a stored column (docs/snapshots.md).
enum class ColumnCoding : unsigned char {
  Values = 0,     ///< one value for each row
  Dictionary = 1  ///< the distinct values, and for each row the number of its own
};

/// The length that stands for NULL.
inline constexpr std::uint32_t kNullLength = 0xFFFFFFFF;

/// How many bytes number so many distinct values: 1, 2 or 4.
inline std::size_t CodeWidth(std::uint64_t distinct) {
  if (distinct <= 0x100) { return 1; }
  return distinct <= 0x10000 ? 2 : 4;
}

/// One column of an answer, as it lies in a block. All of it was checked when it was made, so that reading it
/// needs no check. The bytes must live on.
class BRIO_EXPORT_PRIVATE StoredColumn {
public:
  /// Takes a column of so many rows from the front of some bytes. \throws SnapshotError when they are not
  /// that.
  StoredColumn(littleendian::Cursor& bytes, std::uint32_t rows);

  /// Gives the values in the order of the rows.
  class Reader {
  public:
    explicit Reader(const StoredColumn& column) : column_(&column), text_(column.texts_) {}
    Cell Next();

  private:
    const StoredColumn* column_;
    std::size_t row_ = 0;
    const char* text_;
  };

private:
  void TakeValues(littleendian::Cursor& bytes, std::uint32_t count);
  void TakeCodes(littleendian::Cursor& bytes, std::uint32_t rows);

  const char* lengths_ = nullptr;
  const char* texts_ = nullptr;
  std::vector<Cell> distinct_;  ///< of a dictionary
  std::size_t codeWidth_ = 0;   ///< 0 without one
  const char* codes_ = nullptr;
};

inline Cell StoredColumn::Reader::Next() {
  const std::size_t row = row_++;
  switch (column_->codeWidth_) {
    case 1: return column_->distinct_[littleendian::At<std::uint8_t>(column_->codes_, row)];
    case 2: return column_->distinct_[littleendian::At<std::uint16_t>(column_->codes_, row)];
    case 4: return column_->distinct_[littleendian::At<std::uint32_t>(column_->codes_, row)];
    default: break;
  }
  const auto length = littleendian::At<std::uint32_t>(column_->lengths_, row);
  if (length == kNullLength) { return {}; }
  const char* text = text_;
  text_ += std::size_t{length} + 1;
  return {text, static_cast<int>(length)};
}

}  // namespace brio::dbi::snapshot
