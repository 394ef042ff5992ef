#pragma once

#include <functional>

#include <libpq-fe.h>

namespace brio::dbi {

/// Takes one row of a result while the others are still on their way. The row is gone when the call returns.
using RowConsumer = std::function<void(const PGresult* rows, int row)>;

}  // namespace brio::dbi
