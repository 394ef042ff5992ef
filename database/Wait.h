#pragma once

#include <chrono>
#include <functional>

#include "framework/Export.h"

namespace brio::dbi {

enum class WaitFor { Read, Write, ReadOrWrite };

/// Waits until a socket can be read or written, or has failed.
/// \param limit  how long at most; std::chrono::milliseconds::max() for ever
/// \return false when the time is up.
BRIO_EXPORT_PRIVATE bool WaitForSocket(int socket, WaitFor what, std::chrono::milliseconds limit);

/// The same without a socket: waits until the time is up.
BRIO_EXPORT_PRIVATE void Pause(std::chrono::duration<double> time);

/// Called before each such wait and every 50 ms of it, by the thread that waits, so that a program can give
/// up what it waits for: what the observer throws passes through the load, as std::bad_alloc does. For the
/// whole process; an empty function removes it. Looking up a host's name is not such a wait.
using WaitObserver = std::function<void()>;
BRIO_EXPORT_PRIVATE void SetWaitObserver(WaitObserver observer);

/// What is left of a time limit that began at some moment; never negative. A limit of
/// std::chrono::seconds::max() stays for ever.
std::chrono::milliseconds RemainingOf(std::chrono::seconds limit,
                                      std::chrono::steady_clock::time_point since);

/// The time from one moment to a later one, rounded up; never negative. A `deadline` of
/// std::chrono::steady_clock::time_point::max() is never reached.
std::chrono::milliseconds RemainingUntil(std::chrono::steady_clock::time_point deadline,
                                         std::chrono::steady_clock::time_point now);

}  // namespace brio::dbi
