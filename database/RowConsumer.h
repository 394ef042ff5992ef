#pragma once

#include <functional>

#include "database/RowView.h"

namespace brio::dbi {

/// Takes one row of an answer while the others are still on their way. The row is gone when the call returns.
/// Meanwhile the connection is the rows': a statement that the consumer sends on it is refused, with an error
/// logged. What the consumer throws passes through, and closes the connection.
using RowConsumer = std::function<void(const RowView& row)>;

}  // namespace brio::dbi
