#include "database/PostgreSQLSession.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include "database/Counters.h"
#include "database/LoadScopeSessions.h"
#include "database/ResultStatus.h"
#include "database/StatementObserver.h"
#include "database/StepObserver.h"
#include "database/TransactionSettings.h"
#include "database/Wait.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

// Nothing depends on the end of a transaction that only read.
constexpr std::chrono::seconds kLongestFarewell{5};

// Rows come in messages of 8 kB. To be woken for each costs more than to read it, so where so many rows have
// come that more are likely, what is there is taken without waiting, and a dry socket is left alone until
// some have gathered.
constexpr long kRowsBeforeRests = 10000;
constexpr std::chrono::microseconds kRest{250};

std::string Trimmed(std::string text) {
  while (!text.empty() && text.back() == '\n') {
    text.pop_back();
  }
  return text;
}

/// libpq keeps what a server sends to listeners until somebody takes it.
void DropNotifications(PGconn* connection) {
  while (PGnotify* notification = PQnotifies(connection)) {
    PQfreemem(notification);
  }
}

}  // namespace

PostgreSQLSession::PostgreSQLSession(ConnectionHandle connection, TimeLimits limits)
    : connection_(std::move(connection)), limits_(limits) {
  // Sending must not block for ever either.
  PQsetnonblocking(connection_.get(), 1);
  notices_.ListenTo(connection_.get());
}

PostgreSQLSession::~PostgreSQLSession() { Close(); }

bool PostgreSQLSession::IsUsable() const {
  // A forked child must not speak on its parent's connection.
  return connection_ && connection_.get_deleter().IsOwner() && PQstatus(connection_.get()) == CONNECTION_OK;
}

SessionSource PostgreSQLSession::Source() const {
  if (!connection_) { return {}; }
  const auto text = [](const char* value) { return std::string(value != nullptr ? value : ""); };
  return {text(PQhost(connection_.get())), text(PQdb(connection_.get()))};
}

/// \param take  for the rows, one by one; null to have them in the result
ResultHandle PostgreSQLSession::Run(const Statement& statement, const RowConsumer* take) {
  if (isGivingRows_) {
    LogError("BrioDatabase") << "a statement was not sent, since its connection is still giving the rows of "
                                "another: "
                             << statement.text;
    return nullptr;
  }
  if (!connection_ || !connection_.get_deleter().IsOwner()) { return nullptr; }
  given_ = {};
  try {
    DatabaseTime time(limits_.load);
    const Patience patience{time, limits_.silence};
    if (time.IsUsedUp()) { return GiveUp(time.Complaint()); }
    const bool isIdle = PQtransactionStatus(connection_.get()) == PQTRANS_IDLE;
    const bool hasOwnTransaction = statement.onlyReads && !readsOneState_ && isIdle;
    ResultHandle result = readsOneState_ || hasOwnTransaction ? RunInTransaction(statement, take, patience)
                                                              : Send(statement, take, patience);
    if (hasOwnTransaction) { Commit(); }
    notices_.EndStatement();
    if (isToClose_) { Close(); }
    return result;
  } catch (...) {
    // What is left of the answer would be taken for the next one.
    isGivingRows_ = false;
    connection_.reset();
    throw;
  }
}

ResultHandle PostgreSQLSession::RunInTransaction(const Statement& statement, const RowConsumer* take,
                                                 const Patience& patience) {
  if (PQtransactionStatus(connection_.get()) != PQTRANS_INTRANS && !Begin(patience)) {
    connection_.reset();
    return FatalResult();
  }
  ResultHandle result = Send(statement, take, patience);
  if (IsUsable() && PQtransactionStatus(connection_.get()) == PQTRANS_INERROR) {
    RunOwn("ROLLBACK", patience);
  }
  return result;
}

ResultHandle PostgreSQLSession::Send(const Statement& statement, const RowConsumer* take,
                                     const Patience& patience) {
  NotifyStep(DatabaseStep::Statement, statement.text);
  const StatementWatch watch(connection_.get());
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
  if (take != nullptr && PQsetSingleRowMode(connection_.get()) == 0) {
    return GiveUp("its rows cannot be had one by one");
  }
  ResultHandle result = CollectResult(patience, &statement, take);
  watch.End(statement, result.get(), given_);
  if (!IsGood(result.get())) {
    ReportError(result.get(), statement.text);
    if (!IsUsable() || IsCopy(result.get())) { connection_.reset(); }
  }
  return result;
}

void PostgreSQLSession::Rest() noexcept {
  if (!isGivingRows_) {
    try {
      if (readsOneState_) { Commit(); }
    } catch (...) {  // NOLINT(bugprone-empty-catch): then its transaction is still open
    }
    if (IsUsable() && PQtransactionStatus(connection_.get()) == PQTRANS_IDLE) { return; }
  }
  Close();
}

void PostgreSQLSession::Close() noexcept {
  if (isGivingRows_) {  // the statement that does so ends first
    isToClose_ = true;
    return;
  }
  try {
    if (readsOneState_) { Commit(); }
  } catch (...) {  // NOLINT(bugprone-empty-catch): nothing was written, so nothing is lost
  }
  connection_.reset();
}

bool PostgreSQLSession::Begin(const Patience& patience) {
  const std::string begin = BeginStatement(limits_.silence);
  NotifyStep(DatabaseStep::Begin, begin);
  if (!RunOwn(begin, patience)) { return false; }
  ++Counters::Instance().transactionsBegun;
  return true;
}

/// Ends the transaction, if there is one. That is waited for even when the load's time is used up.
void PostgreSQLSession::Commit() {
  if (!IsUsable() || PQtransactionStatus(connection_.get()) != PQTRANS_INTRANS) { return; }
  NotifyStep(DatabaseStep::Commit, "COMMIT");
  DatabaseTime time(2 * kLongestFarewell, DatabaseTime::Of::Statement);
  RunOwn("COMMIT", {time, std::min(limits_.silence, kLongestFarewell)});
}

/// A text of our own, whose rows do not matter.
bool PostgreSQLSession::RunOwn(const std::string& text, const Patience& patience) {
  if (PQsendQuery(connection_.get(), text.c_str()) == 0) {
    Lost(Trimmed(PQerrorMessage(connection_.get())));
    return false;
  }
  const ResultHandle result = CollectResult(patience);
  if (IsGood(result.get())) { return true; }
  ReportError(result.get(), text);
  return false;
}

/// The first result that is not good, else the last; reads until the connection is ready for the next
/// statement.
/// \param statement  whose columns the rows must have; null for any
ResultHandle PostgreSQLSession::CollectResult(const Patience& patience, const Statement* statement,
                                              const RowConsumer* take) {
  ResultHandle collected;
  for (;;) {
    if (const auto reason = WaitForData(patience)) { return GiveUp(*reason); }
    ResultHandle next(PQgetResult(connection_.get()));
    if (!next) { break; }
    if (statement != nullptr && !HasColumns(next.get(), statement->columns)) {
      return Refuse(next.get(), *statement);
    }
    if (PQresultStatus(next.get()) == PGRES_SINGLE_TUPLE) {
      GiveRow(next.get(), *take, patience.time);
      continue;
    }
    patience.time.Resume();
    // A connection that is lost may say so once more behind an error.
    if (statement != nullptr && collected && IsGood(collected.get()) && IsGood(next.get())) {
      return GiveUp("the server gave two answers to one statement");
    }
    if (!collected || IsGood(collected.get())) { collected = std::move(next); }
    if (IsCopy(collected.get())) { break; }
  }
  given_.taken = patience.time.Paused();
  return collected ? std::move(collected) : Lost("the server gave no answer");
}

/// From the first row on, time that is not spent in waiting for more is the consumer's.
void PostgreSQLSession::GiveRow(const PGresult* row, const RowConsumer& take, DatabaseTime& time) {
  time.Pause();
  ++given_.count;
  isGivingRows_ = true;
  take(RowView(row, 0));
  isGivingRows_ = false;
}

/// Sends what is left of the statement and waits for a result. \return why it is not waited for any longer,
/// if so
std::optional<std::string> PostgreSQLSession::WaitForData(const Patience& patience) {
  PGconn* connection = connection_.get();
  bool hasRested = false;
  for (;;) {
    // Once rows come, all is sent.
    const int unsent = given_.count > 0 ? 0 : PQflush(connection);
    if (unsent < 0 || (unsent == 0 && PQisBusy(connection) == 0)) { break; }
    DropNotifications(connection);
    patience.time.Resume();
    const auto now = DatabaseTime::Clock::now();
    // A server that always has something to say is never waited for, and still has its time.
    if (now >= patience.time.Deadline()) { return patience.time.Complaint(); }
    if (given_.count > kRowsBeforeRests && !hasRested) {
      if (PQconsumeInput(connection) == 0 || PQisBusy(connection) == 0) { break; }
      std::this_thread::sleep_for(kRest);
      hasRested = true;
      continue;
    }
    const auto silence = RemainingOf(patience.silence, now);
    const auto left = RemainingUntil(patience.time.Deadline(), now);
    const auto waitFor = unsent > 0 ? WaitFor::ReadOrWrite : WaitFor::Read;
    if (!WaitForSocket(PQsocket(connection), waitFor, std::min(silence, left))) {
      if (left < silence) { return patience.time.Complaint(); }
      return "no answer for " + std::to_string(patience.silence.count()) + " s";
    }
    if (PQconsumeInput(connection) == 0) { break; }
  }
  return std::nullopt;  // PQgetResult tells what happened
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
  LogError("BrioDatabase") << "connection to the database lost: " << reason;
  connection_.reset();
  return FatalResult();
}

/// For a connection that could go on.
ResultHandle PostgreSQLSession::GiveUp(const std::string& reason) {
  LogError("BrioDatabase") << "connection to the database lost: " << reason << "; the connection is closed";
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
