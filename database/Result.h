#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include <libpq-fe.h>

namespace brio::dbi {

struct ResultDeleter {
  void operator()(PGresult* result) const { PQclear(result); }
};
/// Owns a libpq result.
using ResultHandle = std::unique_ptr<PGresult, ResultDeleter>;

/// Ends a connection. A process that was forked off has copies of its parent's connections: it closes them
/// without the goodbye that would end the parent's too.
class ConnectionDeleter {
public:
  void operator()(PGconn* connection) const {
    if (!IsOwner() && !Deafen(connection)) { return; }
    PQfinish(connection);
  }
  /// False in a child of the process that made the connection.
  bool IsOwner() const { return owner_ == getpid(); }

private:
  /// Lets what is still sent go nowhere; false when the system has no descriptor left for that.
  static bool Deafen(PGconn* connection) {
    const int socket = PQsocket(connection);
    if (socket < 0) { return true; }
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (nowhere < 0) { return false; }
    const bool replaced = dup2(nowhere, socket) == socket;
    close(nowhere);
    return replaced;
  }

  pid_t owner_ = getpid();
};
/// Owns a libpq connection.
using ConnectionHandle = std::unique_ptr<PGconn, ConnectionDeleter>;

}  // namespace brio::dbi
