#pragma once

#include <memory>

#include <libpq-fe.h>

namespace brio::dbi {

struct ResultDeleter {
  void operator()(PGresult* result) const { PQclear(result); }
};
/// Owns a libpq result.
using ResultHandle = std::unique_ptr<PGresult, ResultDeleter>;

struct ConnectionDeleter {
  void operator()(PGconn* connection) const { PQfinish(connection); }
};
/// Owns a libpq connection.
using ConnectionHandle = std::unique_ptr<PGconn, ConnectionDeleter>;

}  // namespace brio::dbi
