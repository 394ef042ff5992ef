#include "database/snapshot/SnapshotFile.h"

#include <utility>

#include "database/snapshot/SharedSnapshot.h"

namespace brio::dbi::snapshot {

SnapshotFile::SnapshotFile(std::shared_ptr<SharedSnapshot> shared) : shared_(std::move(shared)) {}

SnapshotFile::~SnapshotFile() {
  if (IsOwner()) { shared_->Close(); }
}

std::shared_ptr<SnapshotFile> SnapshotFile::Open(const std::string& path) {
  return std::shared_ptr<SnapshotFile>(new SnapshotFile(SharedSnapshot::Open(path)));
}

bool SnapshotFile::IsOwner() const { return shared_->IsOwner(); }

const std::string& SnapshotFile::Path() const { return shared_->Path(); }

SnapshotSummary SnapshotFile::Summary() const { return shared_->Summary(); }

std::vector<RunContents> SnapshotFile::Runs() const { return shared_->Runs(); }

std::optional<std::string> SnapshotFile::Verify(const std::string& detector, int run) {
  return shared_->Verify(detector, run);
}

std::vector<std::string> SnapshotFile::VerifyAll() { return shared_->VerifyAll(); }

std::shared_ptr<const StoredAnswer> SnapshotFile::Find(const AnswerKey& key, std::optional<int> run) {
  return shared_->Find(key, run);
}

}  // namespace brio::dbi::snapshot
