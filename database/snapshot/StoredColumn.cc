#include "database/snapshot/StoredColumn.h"

#include <algorithm>

#include "database/snapshot/Blocks.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {
namespace {

template <class T>
bool AreAllBelow(const char* codes, std::uint32_t rows, std::uint32_t limit) {
  T largest = 0;
  for (std::uint32_t row = 0; row < rows; ++row) {
    largest = std::max(largest, littleendian::At<T>(codes, row));
  }
  return rows == 0 || largest < limit;
}

const char* Taken(littleendian::Cursor& bytes, std::uint64_t count) {
  const char* taken = bytes.Take(count);
  if (taken == nullptr) { throw SnapshotError("a column ends too early"); }
  return taken;
}

}  // namespace

StoredColumn::StoredColumn(littleendian::Cursor& bytes, std::uint32_t rows) {
  switch (static_cast<ColumnCoding>(*Taken(bytes, 1))) {
    case ColumnCoding::Values: TakeValues(bytes, rows); return;
    case ColumnCoding::Dictionary: TakeCodes(bytes, rows); return;
  }
  throw SnapshotError("a column has an unknown coding");
}

/// Lengths, then each value that is not NULL with a zero byte behind it.
void StoredColumn::TakeValues(littleendian::Cursor& bytes, std::uint32_t count) {
  lengths_ = Taken(bytes, std::uint64_t{count} * sizeof(std::uint32_t));
  std::uint64_t size = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto length = littleendian::At<std::uint32_t>(lengths_, i);
    if (length == kNullLength) { continue; }
    if (length > kLargestBlock) { throw SnapshotError("a value is too long"); }
    size += std::uint64_t{length} + 1;
  }
  texts_ = Taken(bytes, size);
  const char* text = texts_;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto length = littleendian::At<std::uint32_t>(lengths_, i);
    if (length == kNullLength) { continue; }
    if (text[length] != '\0') { throw SnapshotError("a value does not end where it should"); }
    text += std::size_t{length} + 1;
  }
}

void StoredColumn::TakeCodes(littleendian::Cursor& bytes, std::uint32_t rows) {
  const auto count = littleendian::At<std::uint32_t>(Taken(bytes, sizeof(std::uint32_t)));
  TakeValues(bytes, count);
  // At least its length was there for each, so their number is bounded by the block's size.
  distinct_.reserve(count);
  Reader values(*this);
  for (std::uint32_t i = 0; i < count; ++i) {
    distinct_.push_back(values.Next());
  }
  const std::size_t width = CodeWidth(count);
  codes_ = Taken(bytes, std::uint64_t{rows} * width);
  const bool areKnown = width == 1   ? AreAllBelow<std::uint8_t>(codes_, rows, count)
                        : width == 2 ? AreAllBelow<std::uint16_t>(codes_, rows, count)
                                     : AreAllBelow<std::uint32_t>(codes_, rows, count);
  if (!areKnown) { throw SnapshotError("a column has a code outside its dictionary"); }
  codeWidth_ = width;
}

}  // namespace brio::dbi::snapshot
