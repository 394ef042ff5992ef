#include "database/ConnectionAttempt.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "database/ConnectionHosts.h"
#include "database/ConnectionOptions.h"
#include "database/Wait.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kApplicationName = "brio-runhistory";
constexpr long kDefaultTimeoutSeconds = 10;
constexpr long kLongestTimeoutSeconds = 1'000'000;

/// When an address that is tried from now on is given up; time_point::max() for never.
Clock::time_point EndOfTimeout(const OptionsHandle& options) {
  const std::string setting = OptionValue(options, "connect_timeout");
  char* end = nullptr;
  const long seconds = std::strtol(setting.c_str(), &end, 10);
  const auto now = Clock::now();
  // A setting that cannot be read must not mean for ever.
  if (end == setting.c_str()) { return now + std::chrono::seconds(kDefaultTimeoutSeconds); }
  if (seconds <= 0) { return Clock::time_point::max(); }
  return now + std::chrono::seconds(std::clamp(seconds, 2L, kLongestTimeoutSeconds));
}

void ReceiveNotice(void* /*unused*/, const PGresult* result) {
  LogInfo("BrioDatabase") << "server says: " << PQresultErrorMessage(result);
}

/// Options that stand above those of the connection string. An empty value would not, and is left out.
class Overrides {
public:
  void Set(const char* keyword, const std::string& value) {
    if (!value.empty()) { options_.emplace_back(keyword, value); }
  }

  ConnectionHandle StartConnecting(const std::string& connectionString) const {
    std::vector<const char*> keywords{"dbname", "fallback_application_name"};
    std::vector<const char*> values{connectionString.c_str(), kApplicationName};
    for (const auto& [keyword, value] : options_) {
      keywords.push_back(keyword);
      values.push_back(value.c_str());
    }
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    return ConnectionHandle(PQconnectStartParams(keywords.data(), values.data(), 1));
  }

private:
  std::vector<std::pair<const char*, std::string>> options_;
};

/// One address. \param pass  its target_session_attrs, if not the string's own
ConnectionAttempt TryAddress(const std::string& connectionString, const OptionsHandle& options,
                             const ConnectionHost& host, const std::string& pass, Clock::time_point end) {
  Overrides overrides;
  overrides.Set("port", host.port);
  overrides.Set("target_session_attrs", pass);
  if (host.address.empty() && !OptionValue(options, "hostaddr").empty()) {
    // No value takes the string's addresses away. Two empty ones do, for the same host twice.
    overrides.Set("host", host.host + "," + host.host);
    overrides.Set("hostaddr", ",");
  } else {
    overrides.Set("host", host.host);
    overrides.Set("hostaddr", host.address);
  }
  ConnectionAttempt attempt{overrides.StartConnecting(connectionString), {}};
  PGconn* connection = attempt.connection.get();
  if (connection == nullptr) {
    attempt.failure.reason = "out of memory";
    return attempt;
  }
  PQsetErrorVerbosity(connection, PQERRORS_VERBOSE);
  PQsetNoticeReceiver(connection, ReceiveNotice, nullptr);
  auto state = PQstatus(connection) == CONNECTION_BAD ? PGRES_POLLING_FAILED : PGRES_POLLING_WRITING;
  while (state != PGRES_POLLING_OK && state != PGRES_POLLING_FAILED) {
    const auto waitFor = state == PGRES_POLLING_READING ? WaitFor::Read : WaitFor::Write;
    const auto left = RemainingUntil(end, Clock::now());
    // The clock comes first: for a server that never stops sending there is nothing to wait for.
    if (left.count() == 0 || !WaitForSocket(PQsocket(connection), waitFor, left)) {
      attempt.failure = TimeExpired(connection);
      attempt.connection.reset();
      return attempt;
    }
    state = PQconnectPoll(connection);
  }
  if (state == PGRES_POLLING_FAILED) {
    attempt.failure = FailureOf(connection);
    attempt.connection.reset();
  } else {
    PQsetErrorVerbosity(connection, PQERRORS_DEFAULT);
  }
  return attempt;
}

/// One way along the hosts.
class Walk {
public:
  Walk(const std::string& connectionString, Clock::time_point deadline)
      : connectionString_(connectionString),
        options_(EffectiveOptions(connectionString)),
        deadline_(deadline) {
    attempt_.failure.canPass = true;
  }

  ConnectionAttempt Go() {
    auto hosts = HostsOf(options_);
    BalanceLoad(options_, hosts);
    for (const auto& pass : PassesOver(options_)) {
      for (const auto& host : hosts) {
        if (TryHost(host, pass)) { return std::move(attempt_); }
      }
    }
    attempt_.failure.reason = reasons_;
    return std::move(attempt_);
  }

private:
  /// \return whether the walk ends here
  bool TryHost(const ConnectionHost& host, const std::string& pass) {
    std::string complaint;
    auto addresses = AddressesOf(host, complaint);
    BalanceLoad(options_, addresses);
    Note(complaint);
    for (const auto& address : addresses) {
      if (Clock::now() >= deadline_) { return End("no time is left to connect"); }
      attempt_ =
          TryAddress(connectionString_, options_, address, pass, std::min(deadline_, EndOfTimeout(options_)));
      if (attempt_.connection) { return true; }
      if (attempt_.failure.goOn == GoOn::Nowhere) { return End(attempt_.failure.reason); }
      Note(attempt_.failure.reason);
      if (attempt_.failure.goOn == GoOn::NextHost) { break; }
    }
    return false;
  }

  bool End(const std::string& reason) {
    Note(reason);
    attempt_.failure.reason = reasons_;
    return true;
  }

  /// Each reason once: the second pass has mostly those of the first.
  void Note(const std::string& reason) {
    if (reasons_.find(reason) == std::string::npos) { reasons_ += (reasons_.empty() ? "" : "\n") + reason; }
  }

  const std::string& connectionString_;
  OptionsHandle options_;
  Clock::time_point deadline_;
  ConnectionAttempt attempt_;
  std::string reasons_;
};

}  // namespace

ConnectionAttempt TryAllHosts(const std::string& connectionString, Clock::time_point deadline) {
  return Walk(connectionString, deadline).Go();
}

}  // namespace brio::dbi
