#pragma once

#include <vector>

#include "RunHistory/DQSubrunInfo.h"
#include "arrays/Runs.h"
#include "python/module/Columns.h"

namespace brio::python {

/// A list of runs as an array. With the interpreter's lock.
Table TableOf(const std::vector<arrays::RunLine>& runs);

/// Data-quality records of subruns as an array that owns them as they are. Likewise.
Table TableOf(std::vector<dbi::DQSubrunInfo> subruns);

}  // namespace brio::python
