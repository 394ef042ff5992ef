#pragma once

#include <string>
#include <vector>

#include <libpq-fe.h>

namespace brio::test {

/// The private server of this test run (BRIO_TEST_SERVER_DIR). Every function fails the test run, with a
/// clear message, when there is none: tests never touch another server.
namespace server {

/// The folder of its Unix socket.
std::string SocketFolder();
/// A connection string for a database of it, as a user who may read the sample.
std::string ConnectionString(const std::string& database, const std::string& user = "brio_reader");
/// A value for BRIO_DATABASE whose databases are named `<prefix>_<detector>`.
std::string Template(const std::string& prefix, const std::string& user = "brio_reader");
/// Rows, as text ("\\N" for NULL), of a statement run as the server's owner; a failure throws
/// std::runtime_error, and so does a server that `sandbox up` has not started in this folder, before the
/// statement.
std::vector<std::vector<std::string>> Query(const std::string& database, const std::string& statement);
/// One value of such a statement.
std::string Value(const std::string& database, const std::string& statement);
/// How many connections of brio-runhistory to one database stay open. One that was closed is given a moment
/// to go, since the server learns of it a little later.
int LastingConnections(const std::string& database);

}  // namespace server

/// A set of databases `<prefix>_<detector>` of a test's own, copied from the sample ("small", "full") or from
/// its bare tables ("empty"), dropped when the object dies.
class ScratchDatabases {
public:
  explicit ScratchDatabases(const std::string& source = "empty",
                            std::vector<std::string> detectors = {"birch"});
  ~ScratchDatabases();
  ScratchDatabases(const ScratchDatabases&) = delete;
  ScratchDatabases& operator=(const ScratchDatabases&) = delete;

  std::string Name(const std::string& detector = "birch") const { return prefix_ + "_" + detector; }
  /// For BRIO_DATABASE.
  std::string Template() const;
  /// Runs SQL as the owner.
  void Execute(const std::string& sql, const std::string& detector = "birch") const;

private:
  std::string prefix_;
  std::vector<std::string> detectors_;
};

/// Sets an environment variable (unsets it for a null value) until the object dies.
class EnvironmentVariable {
public:
  EnvironmentVariable(std::string name, const char* value);
  EnvironmentVariable(std::string name, const std::string& value);
  ~EnvironmentVariable();
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
  std::string name_;
  bool wasSet_;
  std::string before_;
};

}  // namespace brio::test
