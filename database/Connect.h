#pragma once

#include <chrono>
#include <string>

#include "database/Result.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Opens a connection to the server that a libpq connection string names. Failures that can pass (refused,
/// starting up, too many clients, time-out) are tried again up to `retries` times, after jittered pauses that
/// double from 0.2 s to at most 5 s; others are final at once. The time-out of an attempt is 10 s for each
/// address of each host unless the string, the service or the environment sets connect_timeout; it is
/// absolute, whatever a server sends meanwhile. The socket is never one of descriptors 0 to 2.
/// \param deadline  when to give up in any case: past it nothing is begun, no attempt and no pause
/// \param reason  takes what is logged when no server let the client in; may be null
/// \return null, with the reason logged at error severity, category "BrioDatabase", when there is no
///         connection. No password is ever part of a message.
BRIO_EXPORT_PRIVATE ConnectionHandle
Connect(const std::string& connectionString, int retries,
        std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max(),
        std::string* reason = nullptr);

}  // namespace brio::dbi
