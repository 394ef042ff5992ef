#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>

#include "tests/support/Server.h"

namespace brio::test {

/// How many connections a database of the private server had since `since`, as the server counts them, once
/// none is left. The statement that asks goes to another database.
inline long SessionsOf(const std::string& database, long since = 0) {
  const std::string from = " FROM pg_stat_database WHERE datname = '" + database + "'";
  for (int i = 0; i < 600; ++i) {
    if (server::Value("postgres", "SELECT numbackends" + from) == "0") {
      return std::stol(server::Value("postgres", "SELECT sessions" + from)) - since;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  throw std::runtime_error("connections to " + database + " stay open");
}

}  // namespace brio::test
