#include "database/snapshot/ResultColumn.h"

#include <cstdint>

#include "database/LittleEndian.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {

static_assert(sizeof(Oid) == sizeof(std::uint32_t) && sizeof(int) == sizeof(std::int32_t));

std::vector<ResultColumn> ColumnsOf(const PGresult* result) {
  std::vector<ResultColumn> columns;
  columns.reserve(static_cast<std::size_t>(PQnfields(result)));
  for (int i = 0; i < PQnfields(result); ++i) {
    columns.push_back({PQfname(result, i), PQftype(result, i), PQfsize(result, i), PQfmod(result, i),
                       PQfformat(result, i), PQftable(result, i), PQftablecol(result, i)});
  }
  return columns;
}

std::string EncodedColumns(const std::vector<ResultColumn>& columns) {
  std::string bytes;
  for (const auto& column : columns) {
    littleendian::Append(bytes, static_cast<std::uint32_t>(column.name.size()));
    bytes += column.name;
    littleendian::Append(bytes, column.type);
    littleendian::Append(bytes, column.size);
    littleendian::Append(bytes, column.modifier);
    littleendian::Append(bytes, column.format);
    littleendian::Append(bytes, column.table);
    littleendian::Append(bytes, column.tableColumn);
  }
  return bytes;
}

std::vector<ResultColumn> ColumnsIn(std::string_view bytes) {
  std::vector<ResultColumn> columns;
  littleendian::Cursor cursor(bytes);
  while (cursor.Left() > 0) {
    std::uint32_t length = 0;
    const char* name = cursor.Take(length) ? cursor.Take(std::uint64_t{length}) : nullptr;
    ResultColumn column;
    if (name == nullptr || !cursor.Take(column.type) || !cursor.Take(column.size) ||
        !cursor.Take(column.modifier) || !cursor.Take(column.format) || !cursor.Take(column.table) ||
        !cursor.Take(column.tableColumn)) {
      throw SnapshotError("the list of an answer's columns ends too early");
    }
    column.name.assign(name, length);
    columns.push_back(std::move(column));
  }
  return columns;
}

}  // namespace brio::dbi::snapshot
