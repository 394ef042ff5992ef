#include "database/snapshot/RecordingSession.h"

#include <exception>

#include "database/ResultStatus.h"
#include "database/RowDigest.h"

namespace brio::dbi::snapshot {
namespace {

std::string ReasonOf(const PGresult* result) {
  if (result == nullptr) { return "the statement could not be sent"; }
  const char* primary = PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY);
  if (primary != nullptr) { return primary; }
  return IsCopy(result) ? "a COPY statement cannot be run here" : "the connection was lost";
}

}  // namespace

/// \param run     sends the statement, told whether its rows are wanted
/// \param record  completes what is kept, from the good result
template <class Run, class Record>
ResultHandle RecordingSession::Recorded(const Statement& statement, Run run, Record record) {
  const AnswerKey key(detector_, kind_, statement);
  const bool isWanted = recorder_->IsWanted(key);
  // A closed session no longer knows what it was one with, and a statement may close it.
  const SessionSource source = isWanted ? session_->Source() : SessionSource();
  ResultHandle result;
  try {
    result = run(isWanted);
  } catch (...) {
    recorder_->NoteFailure({detector_, kind_, statement.text, "its reader threw an exception"});
    throw;
  }
  if (!IsGood(result.get())) {
    recorder_->NoteFailure({detector_, kind_, statement.text, ReasonOf(result.get())});
  } else if (isWanted) {
    RecordedAnswer answer;
    try {
      answer.hasRows = PQresultStatus(result.get()) == PGRES_TUPLES_OK;
      if (answer.hasRows) {
        answer.columns = ColumnsOf(result.get());
        record(answer, result.get());
      }
      recorder_->Keep(key, std::move(answer), source);
    } catch (const std::exception& error) {  // whoever asked has an answer all the same
      recorder_->NoteFailure({detector_, kind_, statement.text, error.what()});
    }
  }
  return result;
}

ResultHandle RecordingSession::Execute(const Statement& statement) {
  return Recorded(
      statement, [&](bool /*isWanted*/) { return session_->Execute(statement); },
      [](RecordedAnswer& answer, const PGresult* result) {
        for (int row = 0; row < PQntuples(result); ++row) {
          answer.rows.Add(RowView(result, row));
        }
      });
}

ResultHandle RecordingSession::ExecuteByRow(const Statement& statement, const RowConsumer& take) {
  RecordedRows rows;
  std::exception_ptr whyNotKept;
  const RowConsumer keepAndTake = [&](const RowView& row) {
    try {
      if (!whyNotKept) { rows.Add(row); }
    } catch (const std::exception&) { whyNotKept = std::current_exception(); }
    take(row);
  };
  return Recorded(
      statement,
      [&](bool isWanted) { return session_->ExecuteByRow(statement, isWanted ? keepAndTake : take); },
      [&](RecordedAnswer& answer, const PGresult* /*end*/) {
        if (whyNotKept) { std::rethrow_exception(whyNotKept); }
        answer.rows = std::move(rows);
      });
}

ResultHandle RecordingSession::ExecuteByRow(const Statement& statement, RowDigest& digest) {
  return Recorded(
      statement, [&](bool /*isWanted*/) { return session_->ExecuteByRow(statement, digest); },
      [&](RecordedAnswer& answer, const PGresult* /*end*/) {
        answer.digest = RecordedDigest{digest.Name(), digest.Bytes(),
                                       static_cast<std::uint64_t>(session_->LastGiven().count)};
      });
}

}  // namespace brio::dbi::snapshot
