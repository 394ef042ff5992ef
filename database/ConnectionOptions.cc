#include "database/ConnectionOptions.h"

#include "database/Result.h"

namespace brio::dbi {
namespace {

/// A connection object that has read all its options and then been refused: libpq has no other way to ask
/// what the service file and the environment make of a string.
ConnectionHandle RefusedConnection(const std::string& connectionString) {
  const char* const keywords[] = {"dbname", "password", "channel_binding", nullptr};
  const char* const values[] = {connectionString.c_str(), "none", "only the options are wanted", nullptr};
  return ConnectionHandle(PQconnectStartParams(keywords, values, 1));
}

}  // namespace

OptionsHandle OptionsIn(const std::string& connectionString) {
  char* complaint = nullptr;
  OptionsHandle options(PQconninfoParse(connectionString.c_str(), &complaint));
  PQfreemem(complaint);
  return options;
}

OptionsHandle EffectiveOptions(const std::string& connectionString) {
  return OptionsHandle(PQconninfo(RefusedConnection(connectionString).get()));
}

std::string OptionValue(const OptionsHandle& options, const std::string& keyword) {
  for (const PQconninfoOption* option = options.get(); option != nullptr && option->keyword != nullptr;
       ++option) {
    if (keyword == option->keyword && option->val != nullptr) { return option->val; }
  }
  return {};
}

std::string DefaultHost() {
  const auto connection = RefusedConnection("host=,");
  const char* host = PQhost(connection.get());
  return host != nullptr ? host : "";
}

std::string DefaultPort() {
  const OptionsHandle options(PQconndefaults());
  for (const PQconninfoOption* option = options.get(); option != nullptr && option->keyword != nullptr;
       ++option) {
    if (std::string("port") == option->keyword && option->compiled != nullptr) { return option->compiled; }
  }
  return {};
}

}  // namespace brio::dbi
