#pragma once

#include <functional>

namespace brio::dbi {

/// Waits for whole seconds in the calling thread.
void PauseSeconds(unsigned int seconds);

/// Takes the place of the wait, for tests that look at pauses without waiting them out; an empty function
/// restores it.
void SetPause(std::function<void(unsigned int seconds)> pause);

}  // namespace brio::dbi
