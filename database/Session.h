#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "database/Result.h"
#include "database/RowConsumer.h"
#include "database/Rows.h"
#include "framework/Export.h"

namespace brio::dbi {

class RowDigest;

/// One statement.
struct Statement {
  std::string text;
  std::vector<std::string> parameters;  ///< $1, $2, …
  bool binary = false;                  ///< whether its values are wanted in binary form
  int columns = 0;                      ///< how many its rows must have; 0 for any number
  bool onlyReads = false;               ///< runs in a read-only transaction also outside a load
};

/// How many rows a statement gave to its consumer, and how long the consumer had them.
struct GivenRows {
  long count = 0;
  std::chrono::nanoseconds taken{0};
};

/// What may be said of where answers come from: no user, no password.
struct SessionSource {
  std::string host;  ///< or the folder of a Unix socket
  std::string database;
};

/// An open source of answers: a connection to a server, or whatever else stands where a server stands.
/// Used by one thread at a time.
class BRIO_EXPORT Session {
public:
  Session() = default;
  virtual ~Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Runs one statement. Null only when it could not be sent; a failure after that is a result with the
  /// status PGRES_FATAL_ERROR, and is logged at error severity, category "BrioDatabase". Rows with another
  /// number of columns than the statement's are such a failure, after which the session is closed.
  virtual ResultHandle Execute(const Statement& statement) = 0;
  /// The same for a reader who does not need libpq's form of the rows. This gives what Execute gives; a
  /// source that is no server has its own way.
  virtual Answer Ask(const Statement& statement);
  /// The same for rows too many to keep: gives them to `take` as they arrive, also those before a failure.
  /// The result has none. The consumer cannot use the session: what it asks there is not sent (null, with an
  /// error logged), and closing waits until the rows have been given.
  virtual ResultHandle ExecuteByRow(const Statement& statement, const RowConsumer& take) = 0;
  /// The same for a consumer that can also be given what it once kept of the rows. This gives it the rows; a
  /// source that is no server may have that instead, and LastGiven counts what the server once gave.
  virtual ResultHandle ExecuteByRow(const Statement& statement, RowDigest& digest);
  /// What the last statement gave to a consumer.
  virtual GivenRows LastGiven() const { return {}; }
  /// False once the session was closed or its connection was lost.
  virtual bool IsUsable() const = 0;
  /// From now on statements read one consistent state of the source, which nothing can write to.
  virtual void ReadOneState() = 0;
  /// Ends the state that was read. The session can be used again, and then reads another state, unless it
  /// was closed: a source that cannot do better is.
  virtual void Rest() noexcept { Close(); }
  /// Empty when it is closed.
  virtual SessionSource Source() const { return {}; }
  /// Ends what is open; harmless when nothing is.
  virtual void Close() noexcept = 0;
};

/// The databases that a detector's facts are spread over.
enum class DatabaseKind { Runs, Hardware, DAQConfiguration, SlowControl };

/// A session with one of a detector's databases: the one that the calling thread's load already uses, or a
/// new one. Null, with the reason logged at error severity, when it cannot be had. \param retries  how often
/// to try again when the failure is one that can pass
BRIO_EXPORT_PRIVATE std::shared_ptr<Session> AcquireSession(const std::string& detector, DatabaseKind kind,
                                                            int retries);

}  // namespace brio::dbi
