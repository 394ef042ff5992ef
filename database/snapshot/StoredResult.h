#pragma once

#include "database/Result.h"
#include "database/snapshot/StoredAnswer.h"

namespace brio::dbi::snapshot {

/// A stored answer in libpq's form, without its rows: what ends an answer given row by row.
ResultHandle ResultWithoutRows(const StoredAnswer& answer);

/// The same with its rows. The command status ("SELECT 1") is empty.
ResultHandle ResultWithRows(const StoredAnswer& answer);

}  // namespace brio::dbi::snapshot
