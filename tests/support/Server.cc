#include "tests/support/Server.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace brio::test {
namespace {

using Connection = std::unique_ptr<PGconn, decltype(&PQfinish)>;
using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

constexpr const char* kOwner = "postgres";

std::string Folder() {
  const char* folder = std::getenv("BRIO_TEST_SERVER_DIR");
  if (folder == nullptr) {
    std::cerr
        << "BRIO_TEST_SERVER_DIR is not set: server tests run through ctest, which starts a private server\n";
    std::exit(1);
  }
  return folder;
}

/// The server that answers must know what was written into the folder when it was made.
void RequireOwnServer(PGconn* connection) {
  std::string token;
  std::ifstream(Folder() + "/token") >> token;
  const Result result(PQexec(connection, "SELECT current_setting('brio.sandbox', true)"), &PQclear);
  if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) {
    throw std::runtime_error(PQerrorMessage(connection));
  }
  if (token.empty() || PQgetvalue(result.get(), 0, 0) != token) {
    throw std::runtime_error("the server that answers in " + server::SocketFolder() +
                             " is not this test run's own");
  }
}

}  // namespace

namespace server {

std::string SocketFolder() { return Folder() + "/socket"; }

std::string ConnectionString(const std::string& database, const std::string& user) {
  return "host=" + SocketFolder() + " dbname=" + database + " user=" + user;
}

std::string Template(const std::string& prefix, const std::string& user) {
  return ConnectionString(prefix + "_{detector}", user);
}

std::vector<std::vector<std::string>> Query(const std::string& database, const std::string& statement) {
  const Connection connection(PQconnectdb(ConnectionString(database, kOwner).c_str()), &PQfinish);
  RequireOwnServer(connection.get());
  const Result result(PQexec(connection.get(), statement.c_str()), &PQclear);
  const auto status = PQresultStatus(result.get());
  if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
    throw std::runtime_error(PQerrorMessage(connection.get()) + statement);
  }
  std::vector<std::vector<std::string>> rows(static_cast<std::size_t>(PQntuples(result.get())));
  for (std::size_t row = 0; row < rows.size(); ++row) {
    for (int column = 0; column < PQnfields(result.get()); ++column) {
      const int index = static_cast<int>(row);
      const bool null = PQgetisnull(result.get(), index, column) != 0;
      rows[row].emplace_back(null ? "\\N" : PQgetvalue(result.get(), index, column));
    }
  }
  return rows;
}

std::string Value(const std::string& database, const std::string& statement) {
  return Query(database, statement).at(0).at(0);
}

int LastingConnections(const std::string& database) {
  const std::string statement = "SELECT count(*) FROM pg_stat_activity WHERE datname = '" + database +
                                "' AND application_name = 'brio-runhistory'";
  int count = std::stoi(Value("postgres", statement));
  for (int look = 0; count > 0 && look < 1500; ++look) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    count = std::stoi(Value("postgres", statement));
  }
  return count;
}

}  // namespace server

namespace {

/// The server waits five seconds for others to leave the database that is copied; some tests stay longer.
void CopyDatabase(const std::string& from, const std::string& to) {
  constexpr int kTries = 60;
  for (int tried = 1;; ++tried) {
    try {
      server::Query("postgres", "CREATE DATABASE " + to + " TEMPLATE " + from);
      return;
    } catch (const std::runtime_error& error) {
      const bool isInUse =
          std::string(error.what()).find("being accessed by other users") != std::string::npos;
      if (!isInUse || tried == kTries) { throw; }
    }
  }
}

}  // namespace

ScratchDatabases::ScratchDatabases(const std::string& source, std::vector<std::string> detectors)
    : detectors_(std::move(detectors)) {
  static std::atomic<int> count{0};
  prefix_ = "scratch_" + std::to_string(getpid()) + "_" + std::to_string(++count);
  for (const auto& detector : detectors_) {
    CopyDatabase(source + "_" + detector, Name(detector));
  }
}

ScratchDatabases::~ScratchDatabases() {
  for (const auto& detector : detectors_) {
    try {
      server::Query("postgres", "DROP DATABASE IF EXISTS " + Name(detector) + " WITH (FORCE)");
    } catch (const std::exception& error) { std::cerr << error.what() << '\n'; }
  }
}

std::string ScratchDatabases::Template() const { return server::Template(prefix_); }

void ScratchDatabases::Execute(const std::string& sql, const std::string& detector) const {
  server::Query(Name(detector), sql);
}

EnvironmentVariable::EnvironmentVariable(std::string name, const char* value)
    : name_(std::move(name)), wasSet_(std::getenv(name_.c_str()) != nullptr) {
  if (wasSet_) { before_ = std::getenv(name_.c_str()); }
  if (value != nullptr) {
    setenv(name_.c_str(), value, 1);
  } else {
    unsetenv(name_.c_str());
  }
}

EnvironmentVariable::EnvironmentVariable(std::string name, const std::string& value)
    : EnvironmentVariable(std::move(name), value.c_str()) {}

EnvironmentVariable::~EnvironmentVariable() {
  if (wasSet_) {
    setenv(name_.c_str(), before_.c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

}  // namespace brio::test
