#pragma once

#include "arrays/Boards.h"
#include "python/module/Columns.h"

namespace brio::python {

/// Boards as an array, one record for each place that the detector has for one, in the order of the readout.
/// With the interpreter's lock.
Table TableOf(const arrays::Boards& boards);

}  // namespace brio::python
