#include "database/snapshot/SnapshotSession.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <utility>

#include "database/LoadScopeSessions.h"
#include "database/ResultStatus.h"
#include "database/RowDigest.h"
#include "database/StatementObserver.h"
#include "database/snapshot/StoredAnswer.h"
#include "database/snapshot/StoredResult.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {

SnapshotSession::SnapshotSession(std::shared_ptr<SnapshotFile> file, std::string detector, DatabaseKind kind)
    : file_(std::move(file)), detector_(std::move(detector)), kind_(kind) {}

SessionSource SnapshotSession::Source() const {
  return file_ ? SessionSource{"snapshot", file_->Path()} : SessionSource();
}

std::string SnapshotSession::FileName() const { return std::filesystem::path(file_->Path()).filename(); }

void SnapshotSession::Close() noexcept {
  if (isGivingRows_) {  // the statement that does so ends first
    isToClose_ = true;
    return;
  }
  file_.reset();
}

/// As a connection to a server has it.
bool SnapshotSession::CanAsk(const Statement& statement) {
  if (isGivingRows_) {
    LogError("BrioDatabase") << "a statement was not sent, since its connection is still giving the rows of "
                                "another: "
                             << statement.text;
    return false;
  }
  if (!IsUsable()) { return false; }
  given_ = {};
  return true;
}

/// Null, with the reason logged, when the statement fails.
std::shared_ptr<const StoredAnswer> SnapshotSession::Find(const Statement& statement) {
  std::shared_ptr<const StoredAnswer> answer;
  try {
    answer = file_->Find({detector_, kind_, statement}, loadscope::Run());
  } catch (const cet::exception& error) {
    LogError("BrioDatabase") << error.message();
    return nullptr;
  }
  const auto columns = static_cast<int>(answer->Columns().size());
  if (answer->Form() != AnswerForm::Command && statement.columns != 0 && statement.columns != columns) {
    LogError("BrioDatabase") << "the answer has " << columns << " columns where " << statement.columns
                             << " were asked for; the connection is closed: " << statement.text;
    Close();
    return nullptr;
  }
  return answer;
}

std::shared_ptr<const StoredAnswer> SnapshotSession::FindRows(const Statement& statement) {
  auto answer = Find(statement);
  if (answer && answer->Form() == AnswerForm::Digest) {
    LogError("BrioDatabase") << "snapshot " << file_->Path()
                             << " does not hold the rows of this answer, only \"" << answer->DigestName()
                             << "\": " << statement.text;
    return nullptr;
  }
  return answer;
}

ResultHandle SnapshotSession::Execute(const Statement& statement) {
  if (!CanAsk(statement)) { return nullptr; }
  const StatementWatch watch(FileName());
  const auto answer = FindRows(statement);
  watch.End(statement, !answer, {answer ? answer->Rows() : 0, {}});
  return answer ? ResultWithRows(*answer) : FatalResult();
}

Answer SnapshotSession::Ask(const Statement& statement) {
  if (!CanAsk(statement)) { return {}; }
  const StatementWatch watch(FileName());
  const auto answer = FindRows(statement);
  watch.End(statement, !answer, {answer ? answer->Rows() : 0, {}});
  if (!answer || answer->Form() == AnswerForm::Command) { return {true, std::nullopt}; }
  return {true, Rows(answer->Cells(), static_cast<int>(answer->Columns().size()), answer)};
}

ResultHandle SnapshotSession::ExecuteByRow(const Statement& statement, const RowConsumer& take) {
  if (!CanAsk(statement)) { return nullptr; }
  const StatementWatch watch(FileName());
  const auto answer = FindRows(statement);
  auto result = answer ? GiveRows(*answer, take) : FatalResult();
  watch.End(statement, !IsGood(result.get()), given_);
  return result;
}

ResultHandle SnapshotSession::ExecuteByRow(const Statement& statement, RowDigest& digest) {
  if (!CanAsk(statement)) { return nullptr; }
  const StatementWatch watch(FileName());
  const auto answer = Find(statement);
  auto result = !answer ? FatalResult()
                : answer->Form() == AnswerForm::Digest
                    ? GiveDigest(*answer, digest)
                    : GiveRows(*answer, [&digest](const RowView& row) { digest.Take(row); });
  watch.End(statement, !IsGood(result.get()), given_);
  return result;
}

ResultHandle SnapshotSession::GiveRows(const StoredAnswer& answer, const RowConsumer& take) {
  const auto start = std::chrono::steady_clock::now();
  isGivingRows_ = true;
  try {
    StoredAnswer::RowReader rows(answer);
    for (int row = 0; row < answer.Rows(); ++row) {
      ++given_.count;
      take(rows.Next());
    }
  } catch (...) {
    isGivingRows_ = false;
    file_.reset();
    throw;
  }
  isGivingRows_ = false;
  given_.taken = std::chrono::steady_clock::now() - start;
  if (isToClose_) { Close(); }
  return ResultWithoutRows(answer);
}

ResultHandle SnapshotSession::GiveDigest(const StoredAnswer& answer, RowDigest& digest) {
  const auto start = std::chrono::steady_clock::now();
  if (answer.DigestName() != digest.Name()) {
    LogError("BrioDatabase") << "snapshot " << file_->Path() << " holds \"" << answer.DigestName()
                             << "\" where \"" << digest.Name() << "\" is needed";
    return FatalResult();
  }
  if (!digest.Restore(answer.Digest())) {
    LogError("BrioDatabase") << "snapshot " << file_->Path() << " is damaged: its \"" << digest.Name()
                             << "\" cannot be read";
    return FatalResult();
  }
  given_ = {answer.Rows(), std::chrono::steady_clock::now() - start};
  return ResultWithoutRows(answer);
}

}  // namespace brio::dbi::snapshot
