#pragma once

#include <functional>

namespace brio::dbi {

/// Waits for whole seconds in the calling thread.
void PauseSeconds(unsigned int seconds);

/// Waits between 0.1 and 0.3 seconds, at random, so that many that begin together end apart.
void PauseBriefly();

/// Takes the place of the first wait, for tests that look at pauses without waiting them out; an empty
/// function restores it.
void SetPause(std::function<void(unsigned int seconds)> pause);

}  // namespace brio::dbi
