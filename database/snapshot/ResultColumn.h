#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <libpq-fe.h>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// What a server says of one column of an answer.
struct ResultColumn {
  std::string name;
  Oid type = 0;
  int size = 0;      ///< of the type, in bytes; negative when it varies
  int modifier = 0;  ///< of the type, such as the length of a varchar
  int format = 0;    ///< 0 text, 1 binary
  Oid table = 0;     ///< which it comes from; 0 for none
  int tableColumn = 0;
};

/// The columns of a result, also of one without rows, such as ends an answer given row by row.
std::vector<ResultColumn> ColumnsOf(const PGresult* result);

/// The same as the bytes that a snapshot stores (docs/snapshots.md).
BRIO_EXPORT_PRIVATE std::string EncodedColumns(const std::vector<ResultColumn>& columns);
/// \throws SnapshotError when the bytes are not that
std::vector<ResultColumn> ColumnsIn(std::string_view bytes);

}  // namespace brio::dbi::snapshot
