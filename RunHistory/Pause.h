#pragma once

#include <functional>

#include "framework/Export.h"

namespace brio::dbi {

/// Waits for whole seconds in the calling thread.
BRIO_EXPORT_PRIVATE void PauseSeconds(unsigned int seconds);

/// Waits between 0.1 and 0.3 seconds, at random, so that many that begin together end apart.
BRIO_EXPORT_PRIVATE void PauseBriefly();

/// Takes the place of the first wait, for tests that look at pauses without waiting them out; an empty
/// function restores it.
BRIO_EXPORT_PRIVATE void SetPause(std::function<void(unsigned int seconds)> pause);

}  // namespace brio::dbi
