#include "database/ConnectionFailure.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

namespace brio::dbi {
namespace {

constexpr const char* kNotYet = "57P03";  // starting up, stopping, in recovery

/// SQLSTATE codes in an error text of libpq's verbose form, in which a code follows the severity:
/// "FATAL:  28P01: password …".
std::vector<std::string> StateCodes(const std::string& text) {
  std::vector<std::string> codes;
  for (auto at = text.find(":  "); at != std::string::npos; at = text.find(":  ", at + 1)) {
    const std::string code = text.substr(at + 3, 5);
    const bool isCode = code.size() == 5 && text.compare(at + 8, 2, ": ") == 0 &&
                        std::all_of(code.begin(), code.end(), [](unsigned char character) {
                          return std::isdigit(character) != 0 || std::isupper(character) != 0;
                        });
    if (isCode) { codes.push_back(code); }
  }
  return codes;
}

bool CanPass(const std::string& code) {
  const std::string group = code.substr(0, 2);
  return group == "08" || group == "53" || group == "57";  // connection, resources, operator intervention
}

/// Drops the line about the server's source code and the line end.
std::string WithoutLocation(const std::string& text) {
  std::istringstream lines(text);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("LOCATION:", 0) == 0 || line.empty()) { continue; }
    kept += (kept.empty() ? "" : "\n") + line;
  }
  return kept;
}

std::string TextOrNothing(const char* text) { return text != nullptr ? text : ""; }

/// The host that a connection is with, as libpq writes it for one that it has looked up itself: with its name
/// and, if that is not all, its address.
std::string NameAndAddress(PGconn* connection, const std::string& port = {}) {
  const std::string host = TextOrNothing(PQhost(connection));
  const std::string address = TextOrNothing(PQhostaddr(connection));
  const bool isAll = address.empty() || address == host;
  return "\"" + host + port + "\"" + (isAll ? std::string() : " (" + address + ")");
}

/// libpq says only the address of a host whose address it was given.
std::string WithName(std::string text, PGconn* connection) {
  const std::string address = TextOrNothing(PQhostaddr(connection));
  const std::string quoted = "\"" + address + "\"";
  const auto at = address.empty() ? std::string::npos : text.find(quoted);
  if (at != std::string::npos) { text.replace(at, quoted.size(), NameAndAddress(connection)); }
  return text;
}

GoOn WhereAfter(PGconn* connection, const std::vector<std::string>& codes) {
  if (!codes.empty()) { return codes.back() == kNotYet ? GoOn::NextHost : GoOn::Nowhere; }
  if (PQconnectionNeedsPassword(connection) != 0) { return GoOn::Nowhere; }
  // One that has let the client in and told of itself was refused for target_session_attrs.
  return PQparameterStatus(connection, "server_version") != nullptr ? GoOn::NextHost : GoOn::NextAddress;
}

}  // namespace

ConnectionFailure FailureOf(PGconn* connection) {
  ConnectionFailure failure;
  failure.reason = WithName(WithoutLocation(PQerrorMessage(connection)), connection);
  const auto codes = StateCodes(PQerrorMessage(connection));
  failure.neverStarted = TextOrNothing(PQhost(connection)).empty();
  failure.canPass = !failure.neverStarted && PQconnectionNeedsPassword(connection) == 0 &&
                    std::all_of(codes.begin(), codes.end(), CanPass);
  failure.goOn = failure.neverStarted ? GoOn::Nowhere : WhereAfter(connection, codes);
  return failure;
}

ConnectionFailure TimeExpired(PGconn* connection) {
  ConnectionFailure failure;
  failure.reason = "connection to server at " +
                   NameAndAddress(connection, ":" + TextOrNothing(PQport(connection))) +
                   " failed: timeout expired";
  failure.canPass = true;
  failure.goOn = GoOn::NextAddress;
  return failure;
}

}  // namespace brio::dbi
