#include "benchmarks/loads/Connection.h"

#include <stdexcept>

namespace brio::benchmarks {

Connection::Connection(const std::string& database, const std::string& begin)
    : connection_(PQconnectdb(database.c_str())) {
  if (PQstatus(connection_.get()) != CONNECTION_OK) {
    throw std::runtime_error(PQerrorMessage(connection_.get()));
  }
  traffic_.connections = 1;
  Checked(PQexec(connection_.get(), begin.c_str()));
}

dbi::ResultHandle Connection::Ask(const std::string& statement, const std::vector<std::string>& parameters,
                                  int format) {
  std::vector<const char*> values;
  values.reserve(parameters.size());
  for (const auto& parameter : parameters) {
    values.push_back(parameter.c_str());
  }
  ++traffic_.statements;
  auto result = Checked(PQexecParams(connection_.get(), statement.c_str(), static_cast<int>(values.size()),
                                     nullptr, values.data(), nullptr, nullptr, format));
  traffic_.rows += PQntuples(result.get());
  return result;
}

void Connection::Send(const std::string& statement) {
  ++traffic_.statements;
  if (PQsendQueryParams(connection_.get(), statement.c_str(), 0, nullptr, nullptr, nullptr, nullptr, 0) ==
          0 ||
      PQsetSingleRowMode(connection_.get()) == 0) {
    throw std::runtime_error(PQerrorMessage(connection_.get()));
  }
}

dbi::ResultHandle Connection::Next() {
  PGresult* result = PQgetResult(connection_.get());
  if (result == nullptr) { return nullptr; }
  traffic_.rows += PQntuples(result);
  return Checked(result);
}

void Connection::Close() {
  Checked(PQexec(connection_.get(), "COMMIT"));
  connection_.reset();
}

dbi::ResultHandle Connection::Checked(PGresult* result) {
  dbi::ResultHandle handle(result);
  const auto status = PQresultStatus(result);
  if (status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || status == PGRES_SINGLE_TUPLE) {
    return handle;
  }
  throw std::runtime_error(PQerrorMessage(connection_.get()));
}

}  // namespace brio::benchmarks
