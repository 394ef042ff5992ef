#include "database/Connect.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "database/ConnectionString.h"
#include "database/Counters.h"
#include "database/StepObserver.h"
#include "database/Wait.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;
using Options = std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)>;

constexpr const char* kApplicationName = "brio-runhistory";
constexpr long kDefaultTimeoutSeconds = 10;
constexpr long kLongestTimeoutSeconds = 1'000'000;
constexpr std::chrono::duration<double> kFirstPause{0.2};
constexpr std::chrono::duration<double> kLongestPause{5.0};

struct Failure {
  std::string reason;
  bool canPass = false;
  bool neverStarted = false;  ///< libpq itself refused, before it learned of a host
};

/// Where an attempt ended: connected, or why not, and which hosts a timed-out attempt had not tried yet.
struct Attempt {
  ConnectionHandle connection;
  Failure failure;
  std::vector<std::pair<std::string, std::string>> untriedHosts;
};

std::string OptionValue(const Options& options, const std::string& keyword) {
  for (const PQconninfoOption* option = options.get(); option != nullptr && option->keyword != nullptr;
       ++option) {
    if (keyword == option->keyword && option->val != nullptr) { return option->val; }
  }
  return {};
}

std::string OptionValue(PGconn* connection, const std::string& keyword) {
  return OptionValue(Options(PQconninfo(connection), &PQconninfoFree), keyword);
}

std::vector<std::string> SplitAtCommas(const std::string& list) {
  std::vector<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, ',');) {
    parts.push_back(part);
  }
  return parts;
}

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

Failure FailureOf(PGconn* connection) {
  Failure failure;
  failure.reason = WithoutLocation(PQerrorMessage(connection));
  const auto codes = StateCodes(PQerrorMessage(connection));
  const char* host = PQhost(connection);
  failure.neverStarted = host == nullptr || *host == '\0';
  failure.canPass = !failure.neverStarted && PQconnectionNeedsPassword(connection) == 0 &&
                    std::all_of(codes.begin(), codes.end(), CanPass);
  return failure;
}

std::chrono::seconds HostTimeout(PGconn* connection) {
  const std::string setting = OptionValue(connection, "connect_timeout");
  char* end = nullptr;
  const long seconds = std::strtol(setting.c_str(), &end, 10);
  // A setting that cannot be read must not mean for ever.
  if (end == setting.c_str()) { return std::chrono::seconds(kDefaultTimeoutSeconds); }
  return seconds > 0 ? std::chrono::seconds(std::clamp(seconds, 2L, kLongestTimeoutSeconds))
                     : std::chrono::seconds::max();
}

/// Hosts behind the one that the connection is trying, with their ports.
std::vector<std::pair<std::string, std::string>> HostsBehind(PGconn* connection) {
  const auto hosts = SplitAtCommas(OptionValue(connection, "host"));
  const auto ports = SplitAtCommas(OptionValue(connection, "port"));
  std::vector<std::pair<std::string, std::string>> behind;
  const auto port = [&](std::size_t index) {
    return ports.size() == hosts.size() ? ports[index] : ports.empty() ? std::string() : ports.front();
  };
  bool passed = false;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (passed) { behind.emplace_back(hosts[i], port(i)); }
    passed = passed || (hosts[i] == PQhost(connection) && port(i) == PQport(connection));
  }
  return behind;
}

void ReceiveNotice(void* /*unused*/, const PGresult* result) {
  LogInfo("BrioDatabase") << "server says: " << PQresultErrorMessage(result);
}

Attempt TryOnce(const std::string& connectionString,
                const std::vector<std::pair<std::string, std::string>>& onlyHosts) {
  std::string hosts;
  std::string ports;
  for (const auto& [host, port] : onlyHosts) {
    hosts += (hosts.empty() ? "" : ",") + host;
    ports += (&host == &onlyHosts.front().first ? "" : ",") + port;
  }
  std::vector<const char*> keywords{"dbname", "fallback_application_name"};
  std::vector<const char*> values{connectionString.c_str(), kApplicationName};
  if (!onlyHosts.empty()) {
    keywords.insert(keywords.end(), {"host", "port"});
    values.insert(values.end(), {hosts.c_str(), ports.c_str()});
  }
  keywords.push_back(nullptr);
  values.push_back(nullptr);

  Attempt attempt;
  attempt.connection.reset(PQconnectStartParams(keywords.data(), values.data(), 1));
  PGconn* connection = attempt.connection.get();
  if (connection == nullptr) {
    attempt.failure.reason = "out of memory";
    return attempt;
  }
  PQsetErrorVerbosity(connection, PQERRORS_VERBOSE);
  PQsetNoticeReceiver(connection, ReceiveNotice, nullptr);

  auto state = PQstatus(connection) == CONNECTION_BAD ? PGRES_POLLING_FAILED : PGRES_POLLING_WRITING;
  const auto timeout = HostTimeout(connection);
  std::string host = PQhost(connection) + std::string(":") + PQport(connection);
  auto waitingSince = Clock::now();
  while (state != PGRES_POLLING_OK && state != PGRES_POLLING_FAILED) {
    const auto waitFor = state == PGRES_POLLING_READING ? WaitFor::Read : WaitFor::Write;
    if (!WaitForSocket(PQsocket(connection), waitFor, RemainingOf(timeout, waitingSince))) {
      attempt.failure = {"connection to server at \"" + host + "\" failed: timeout expired", true, false};
      attempt.untriedHosts = HostsBehind(connection);
      attempt.connection.reset();
      return attempt;
    }
    state = PQconnectPoll(connection);
    const std::string nowTrying = PQhost(connection) + std::string(":") + PQport(connection);
    if (nowTrying != host) {
      host = nowTrying;
      waitingSince = Clock::now();
    }
  }
  if (state == PGRES_POLLING_FAILED) {
    attempt.failure = FailureOf(connection);
    attempt.connection.reset();
  } else {
    PQsetErrorVerbosity(connection, PQERRORS_DEFAULT);
  }
  return attempt;
}

/// One attempt over all hosts of the string.
Attempt TryAllHosts(const std::string& connectionString) {
  Attempt attempt = TryOnce(connectionString, {});
  std::string reasons = attempt.failure.reason;
  while (!attempt.connection && !attempt.untriedHosts.empty()) {
    const auto untried = attempt.untriedHosts;
    attempt = TryOnce(connectionString, untried);
    reasons += "\n" + attempt.failure.reason;
  }
  attempt.failure.reason = reasons;
  return attempt;
}

/// Waits before attempt number `next` (from 1): half to the whole of a time that doubles.
void PauseBefore(int next) {
  thread_local std::minstd_rand generator{std::random_device{}()};
  std::uniform_real_distribution<double> jitter(0.5, 1.0);
  auto pause = kFirstPause;
  for (int i = 1; i < next && pause < kLongestPause; ++i) {
    pause *= 2;
  }
  std::this_thread::sleep_for(std::min(pause, kLongestPause) * jitter(generator));
}

/// Whether a URI's password seems to hold a "/" or "@" that is not written as %2F or %40: libpq would take
/// pieces of it for a host, a port or a database, and name those in its messages.
bool HidesPassword(const std::string& connectionString) {
  const auto scheme = connectionString.find("://");
  if (scheme == std::string::npos) { return false; }
  const std::string rest = connectionString.substr(scheme + 3);
  const auto at = rest.find('@');
  if (at == std::string::npos) { return false; }
  const auto slash = rest.find('/');
  if (slash < at) { return rest.find('?') > at; }
  return rest.find('@', at + 1) < slash;
}

/// Whether libpq understands the string, and each piece of it for what it is. Its own complaints about one
/// that it does not may quote pieces, a password among them, and are not passed on.
bool IsReadable(const std::string& connectionString) {
  const bool isBareName =
      connectionString.find('=') == std::string::npos && connectionString.find("://") == std::string::npos;
  if (isBareName) { return true; }
  if (HidesPassword(connectionString)) { return false; }
  char* complaint = nullptr;
  const Options options(PQconninfoParse(connectionString.c_str(), &complaint), &PQconninfoFree);
  PQfreemem(complaint);
  if (!options) { return false; }
  if (OptionValue(options, "port").find_first_not_of("0123456789,") != std::string::npos) { return false; }
  // A blank that is missing between two pairs makes the second a part of the first one's value.
  for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
    const bool isPassword = std::string("password") == option->keyword;
    if (!isPassword && option->val != nullptr && std::strstr(option->val, "password=") != nullptr) {
      return false;
    }
  }
  return true;
}

}  // namespace

ConnectionHandle Connect(const std::string& connectionString, int retries) {
  if (!IsReadable(connectionString)) {
    LogError("BrioDatabase")
        << "the connection string in " << kDatabaseVariable
        << " cannot be read: it must be a libpq connection string (keyword=value pairs with "
           "known keywords, or a postgresql:// URI)";
    return nullptr;
  }
  Failure failure;
  for (int attempt = 0; attempt == 0 || attempt <= retries; ++attempt) {
    if (attempt > 0) {
      LogInfo("BrioDatabase") << "trying again to connect, after: " << failure.reason;
      PauseBefore(attempt);
    }
    ++Counters::Instance().connectionAttempts;
    NotifyStep(DatabaseStep::Connect, {});
    Attempt tried = TryAllHosts(connectionString);
    if (tried.connection) {
      ++Counters::Instance().connectionsOpened;
      return std::move(tried.connection);
    }
    failure = tried.failure;
    if (!failure.canPass) { break; }
  }
  const char* setting = std::getenv(kDatabaseVariable);
  const bool isSetUp = !failure.neverStarted || (setting != nullptr && *setting != '\0');
  LogError("BrioDatabase") << failure.reason
                           << (isSetUp
                                   ? std::string()
                                   : std::string("; ") + kDatabaseVariable +
                                         " is not set: set it to a connection string, or define that service "
                                         "in your PostgreSQL service file");
  return nullptr;
}

}  // namespace brio::dbi
