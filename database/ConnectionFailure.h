#pragma once

#include <string>

#include <libpq-fe.h>

namespace brio::dbi {

/// Where to go on after a failure, as libpq does it.
enum class GoOn {
  NextAddress,  ///< of the same host; nobody spoke there
  NextHost,     ///< this one runs, but is not what is wanted, or not yet
  Nowhere       ///< a server has said no, and another would too
};

/// Why there is no connection.
struct ConnectionFailure {
  std::string reason;
  bool canPass = false;       ///< worth another attempt later
  bool neverStarted = false;  ///< libpq itself refused, before it learned of a host
  GoOn goOn = GoOn::Nowhere;
};

/// What a connection attempt that libpq gave up has failed of. The connection must be in verbose mode, since
/// the server's SQLSTATE is found in no other place.
ConnectionFailure FailureOf(PGconn* connection);

/// The failure of an attempt whose time was up.
ConnectionFailure TimeExpired(PGconn* connection);

}  // namespace brio::dbi
