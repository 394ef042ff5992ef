#include "database/PostgreSQLSession.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "database/Counters.h"
#include "database/LoadScopeSessions.h"
#include "database/StepObserver.h"
#include "database/Wait.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kDefaultTimeout{300};
// Nothing depends on the end of a transaction that only read.
constexpr std::chrono::seconds kLongestFarewell{5};
constexpr std::chrono::seconds kForEver = std::chrono::seconds::max();
// Longer limits than the server can be told of (its unit is a millisecond in 32 bits) count as no limit.
constexpr long kLongestTimeout = 2'000'000;

std::chrono::seconds QueryTimeout() {
  const char* setting = std::getenv("BRIO_QUERY_TIMEOUT");
  if (setting == nullptr || *setting == '\0') { return kDefaultTimeout; }
  long seconds = 0;
  const char* end = setting + std::strlen(setting);
  const auto [stop, error] = std::from_chars(setting, end, seconds);
  if (error != std::errc() || stop != end || seconds < 0) {
    LogWarning("BrioDatabase") << "BRIO_QUERY_TIMEOUT is \"" << setting
                               << "\", not a number of seconds; using " << kDefaultTimeout.count();
    return kDefaultTimeout;
  }
  return seconds == 0 || seconds > kLongestTimeout ? kForEver : std::chrono::seconds(seconds);
}

bool IsGood(const PGresult* result) {
  const auto status = PQresultStatus(result);
  return status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY;
}

bool IsCopy(const PGresult* result) {
  const auto status = PQresultStatus(result);
  return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
}

/// Whether the server's code says that the same statement, sent again, may well succeed: a serialization
/// failure, a deadlock, or a server that is being shut down or has crashed.
bool IsInterruption(const PGresult* result) {
  const char* code = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  if (code == nullptr) { return false; }
  constexpr std::array kCodes{"40001", "40P01", "57P01", "57P02"};
  return std::any_of(kCodes.begin(), kCodes.end(),
                     [&](const char* known) { return std::strcmp(code, known) == 0; });
}

/// Whether a result, if it holds rows, holds those that were asked for; 0 columns stands for any.
bool HasColumns(const PGresult* result, int columns) {
  const auto status = PQresultStatus(result);
  const bool hasRows = status == PGRES_TUPLES_OK || status == PGRES_SINGLE_TUPLE;
  return columns == 0 || !hasRows || PQnfields(result) == columns;
}

ResultHandle FatalResult() { return ResultHandle(PQmakeEmptyPGresult(nullptr, PGRES_FATAL_ERROR)); }

std::string Trimmed(std::string text) {
  while (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

}  // namespace

PostgreSQLSession::PostgreSQLSession(ConnectionHandle connection)
    : connection_(std::move(connection)), timeout_(QueryTimeout()) {
  // Sending must not block for ever either.
  PQsetnonblocking(connection_.get(), 1);
}

PostgreSQLSession::~PostgreSQLSession() { Close(); }

bool PostgreSQLSession::IsUsable() const {
  return connection_ && PQstatus(connection_.get()) == CONNECTION_OK;
}

/// \param take  for the rows, one by one; null to have them in the result
ResultHandle PostgreSQLSession::Run(const Statement& statement, const RowConsumer* take) {
  if (!connection_) { return nullptr; }
  if (readsOneState_ && PQtransactionStatus(connection_.get()) != PQTRANS_INTRANS && !Begin()) {
    connection_.reset();
    return FatalResult();
  }
  NotifyStep(DatabaseStep::Statement, statement.text);
  ++Counters::Instance().statementsSent;

  std::vector<const char*> values;
  values.reserve(statement.parameters.size());
  for (const auto& parameter : statement.parameters) {
    values.push_back(parameter.c_str());
  }
  const int sent =
      PQsendQueryParams(connection_.get(), statement.text.c_str(), static_cast<int>(values.size()), nullptr,
                        values.data(), nullptr, nullptr, statement.binary ? 1 : 0);
  if (sent == 0) {
    const std::string reason = Trimmed(PQerrorMessage(connection_.get()));
    if (!IsUsable()) { return Lost(reason); }
    LogError("BrioDatabase") << "statement could not be sent: " << reason;
    return nullptr;
  }
  if (take != nullptr) { PQsetSingleRowMode(connection_.get()); }
  ResultHandle result = CollectResult(&statement, take);
  if (!IsGood(result.get())) {
    ReportError(result.get(), statement.text);
    if (!IsUsable() || IsCopy(result.get())) {
      connection_.reset();
    } else if (readsOneState_ && PQtransactionStatus(connection_.get()) == PQTRANS_INERROR) {
      RunOwn("ROLLBACK");
    }
  }
  return result;
}

void PostgreSQLSession::Close() noexcept {
  try {
    if (readsOneState_ && IsUsable() && PQtransactionStatus(connection_.get()) == PQTRANS_INTRANS) {
      NotifyStep(DatabaseStep::Commit, "COMMIT");
      timeout_ = std::min(timeout_, kLongestFarewell);
      RunOwn("COMMIT");
    }
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing was written, so nothing is lost
  }
  connection_.reset();
}

bool PostgreSQLSession::Begin() {
  std::string begin =
      "BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY;"
      "SET LOCAL TimeZone TO 'UTC';"
      "SET LOCAL DateStyle TO 'ISO'";
  if (timeout_ != kForEver) {
    begin += ";SET LOCAL statement_timeout TO " + std::to_string(timeout_.count() * 1000);
  }
  NotifyStep(DatabaseStep::Begin, begin);
  if (!RunOwn(begin)) { return false; }
  ++Counters::Instance().transactionsBegun;
  return true;
}

/// A constant text of our own, answered without rows.
bool PostgreSQLSession::RunOwn(const std::string& text) {
  if (PQsendQuery(connection_.get(), text.c_str()) == 0) {
    Lost(Trimmed(PQerrorMessage(connection_.get())));
    return false;
  }
  const ResultHandle result = CollectResult();
  if (IsGood(result.get())) { return true; }
  ReportError(result.get(), text);
  return false;
}

/// The first result that is not good, else the last; reads until the connection is ready for the next
/// statement.
///
/// \param statement  whose columns the rows must have; null for any
ResultHandle PostgreSQLSession::CollectResult(const Statement* statement, const RowConsumer* take) {
  ResultHandle collected;
  for (;;) {
    if (!WaitForData()) {
      return GiveUp("no answer for " + std::to_string(timeout_.count()) + " s; the connection is closed");
    }
    ResultHandle next(PQgetResult(connection_.get()));
    if (!next) { break; }
    if (statement != nullptr && !HasColumns(next.get(), statement->columns)) {
      return Refuse(next.get(), *statement);
    }
    if (PQresultStatus(next.get()) == PGRES_SINGLE_TUPLE) {
      GiveRow(next.get(), *take);
      continue;
    }
    if (!collected || IsGood(collected.get())) { collected = std::move(next); }
    if (IsCopy(collected.get())) { break; }
  }
  return collected ? std::move(collected) : Lost("the server gave no answer");
}

/// A consumer that throws leaves rows unread, and the connection of no more use.
void PostgreSQLSession::GiveRow(const PGresult* row, const RowConsumer& take) {
  try {
    take(RowView(row, 0));
  } catch (...) {
    connection_.reset();
    throw;
  }
}

/// Sends what is left of the statement and waits for a result; false when the server has neither taken nor
/// sent anything for the time allowed.
bool PostgreSQLSession::WaitForData() {
  for (;;) {
    const int unsent = PQflush(connection_.get());
    if (unsent < 0 || (unsent == 0 && PQisBusy(connection_.get()) == 0)) { break; }
    const auto waitFor = unsent > 0 ? WaitFor::ReadOrWrite : WaitFor::Read;
    if (!WaitForSocket(PQsocket(connection_.get()), waitFor, RemainingOf(timeout_, Clock::now()))) {
      return false;
    }
    if (PQconsumeInput(connection_.get()) == 0) { break; }
  }
  return true;  // PQgetResult tells what happened
}

/// Rows of another form than was asked for: whoever answers is not to be believed.
ResultHandle PostgreSQLSession::Refuse(const PGresult* rows, const Statement& statement) {
  LogError("BrioDatabase") << "the answer has " << PQnfields(rows) << " columns where " << statement.columns
                           << " were asked for; the connection is closed: " << statement.text;
  connection_.reset();
  return FatalResult();
}

/// For a connection that is found lost.
ResultHandle PostgreSQLSession::Lost(const std::string& reason) {
  loadscope::NoteInterruption();
  return GiveUp(reason);
}

/// Closes the connection and makes the result that says so.
ResultHandle PostgreSQLSession::GiveUp(const std::string& reason) {
  LogError("BrioDatabase") << "connection to the database lost: " << reason;
  connection_.reset();
  return FatalResult();
}

void PostgreSQLSession::ReportError(const PGresult* result, const std::string& statement) const {
  const bool isLost = connection_ && !IsUsable();
  if (isLost || IsInterruption(result)) { loadscope::NoteInterruption(); }
  if (IsCopy(result)) {
    LogError("BrioDatabase") << "a COPY statement cannot be run here: " << statement;
    return;
  }
  const char* text = PQresultErrorMessage(result);
  if (*text == '\0') { return; }  // reported where the connection was found lost
  const char* code = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  const char* database = connection_ ? PQdb(connection_.get()) : nullptr;
  LogError("BrioDatabase") << "database \"" << (database != nullptr ? database : "")
                           << "\": " << Trimmed(text)
                           << (code != nullptr ? std::string(" [SQLSTATE ") + code + "]" : std::string());
}

}  // namespace brio::dbi
