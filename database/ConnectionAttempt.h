#pragma once

#include <chrono>
#include <string>

#include "database/ConnectionFailure.h"
#include "database/Result.h"

namespace brio::dbi {

/// Where an attempt ended: connected, or why not.
struct ConnectionAttempt {
  ConnectionHandle connection;
  ConnectionFailure failure;
};

/// Tries all hosts of a connection string and all their addresses, in libpq's order and with its passes,
/// until one lets us in. Each address is given its connect_timeout whatever it sends meanwhile, so the whole
/// takes at most that time for each address and pass; looking up a name is not bounded. \param deadline  when
/// to give up in any case
ConnectionAttempt TryAllHosts(const std::string& connectionString,
                              std::chrono::steady_clock::time_point deadline);

}  // namespace brio::dbi
