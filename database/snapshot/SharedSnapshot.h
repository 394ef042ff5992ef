#pragma once

#include <sys/types.h>

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotTables.h"

namespace brio::dbi::snapshot {

/// Which file a path leads to, and whether it is still the same.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t size = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  /// \throws cet::exception "BrioDatabase" when there is no regular file
  static FileIdentity Of(const std::string& path);
  bool operator==(const FileIdentity& other) const;
};

/// What all SnapshotFile of one file have in common. The file is open as long as there are some; what was
/// read and found whole stays.
class SharedSnapshot {
public:
  SharedSnapshot(std::string path, FileIdentity identity);

  /// The one of this process for what now stands at a path, with the file open.
  static std::shared_ptr<SharedSnapshot> Open(const std::string& path);
  /// One user less.
  void Close();

  bool IsOwner() const;
  const std::string& Path() const { return path_; }

  SnapshotSummary Summary();
  std::vector<RunContents> Runs();
  std::optional<std::string> Verify(const std::string& detector, int run);
  std::vector<std::string> VerifyAll();
  std::shared_ptr<const StoredAnswer> Find(const AnswerKey& key, std::optional<int> run);

private:
  /// A run, or by its negative number an answer that belongs to none.
  using Unit = std::int64_t;
  struct Known {
    Unit unit;
    std::shared_ptr<const VerifiedAnswers> answers;
  };

  bool BeginUse();
  FrameReader Reader() const;
  void UnpackAll(const VerifiedAnswers& answers) const;
  std::shared_ptr<const VerifiedAnswers> Verified(Unit unit);
  void Keep(Unit unit, const std::shared_ptr<const VerifiedAnswers>& answers);
  bool IsKnown(Unit unit) const;
  std::shared_ptr<const StoredAnswer> FindInRun(const AnswerKey& key, const RunRow& run);
  std::shared_ptr<const StoredAnswer> FindAnywhere(const ContentHash& question, bool alsoInRuns);
  [[noreturn]] void Lacks(const AnswerKey& key) const;
  [[noreturn]] void LacksRun(const std::string& detector, int run) const;
  [[noreturn]] void IsDamaged(const std::string& what) const;

  const std::string path_;
  const FileIdentity identity_;
  const pid_t owner_;
  std::mutex mutex_;  ///< of all that follows
  int users_ = 0;
  std::optional<SnapshotTables> tables_;
  FramesInUse frames_;
  std::list<Known> known_;  ///< the one used last first
};

}  // namespace brio::dbi::snapshot
