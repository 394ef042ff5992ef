#pragma once

#include <chrono>

#include "framework/Export.h"

namespace brio::dbi {

/// How long to wait before trying again to connect: half to the whole of a time that is 0.2 s before the
/// first further attempt and doubles from one to the next, up to 5 s. \param attempt  number of the further
/// attempt, from 1 \param chance  0 for half of that time, 1 for the whole, between them in proportion
BRIO_EXPORT_PRIVATE std::chrono::duration<double> RetryPause(int attempt, double chance);

}  // namespace brio::dbi
