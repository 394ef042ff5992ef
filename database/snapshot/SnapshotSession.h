#pragma once

#include <memory>
#include <string>

#include "database/Session.h"
#include "database/snapshot/SnapshotFile.h"

namespace brio::dbi::snapshot {

class StoredAnswer;

/// A session of one detector's database that answers from a snapshot, as the server did when it was saved. A
/// statement that the snapshot has no answer to, and every statement of a run that is damaged, is a failed
/// one.
class SnapshotSession final : public Session {
public:
  SnapshotSession(std::shared_ptr<SnapshotFile> file, std::string detector, DatabaseKind kind);

  using Session::ExecuteByRow;
  ResultHandle Execute(const Statement& statement) override;
  Answer Ask(const Statement& statement) override;
  ResultHandle ExecuteByRow(const Statement& statement, const RowConsumer& take) override;
  ResultHandle ExecuteByRow(const Statement& statement, RowDigest& digest) override;
  GivenRows LastGiven() const override { return given_; }
  bool IsUsable() const override { return file_ && file_->IsOwner(); }
  void ReadOneState() override {}  // a file has no other
  SessionSource Source() const override;
  void Close() noexcept override;

private:
  std::string FileName() const;
  bool CanAsk(const Statement& statement);
  std::shared_ptr<const StoredAnswer> Find(const Statement& statement);
  std::shared_ptr<const StoredAnswer> FindRows(const Statement& statement);
  ResultHandle GiveRows(const StoredAnswer& answer, const RowConsumer& take);
  ResultHandle GiveDigest(const StoredAnswer& answer, RowDigest& digest);

  std::shared_ptr<SnapshotFile> file_;
  std::string detector_;
  DatabaseKind kind_;
  GivenRows given_;
  bool isGivingRows_ = false;
  bool isToClose_ = false;
};

}  // namespace brio::dbi::snapshot
