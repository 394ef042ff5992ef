#pragma once

#include <functional>

#include "database/RowView.h"

namespace brio::dbi {

/// Takes one row of an answer while the others are still on their way. The row is gone when the call returns.
using RowConsumer = std::function<void(const RowView& row)>;

}  // namespace brio::dbi
