#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/SavedRun.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

class SharedSnapshot;
class StoredAnswer;

/// What a snapshot says of itself.
struct SnapshotSummary {
  int version = 0;      ///< of the format and of the statements' texts
  std::string made;     ///< when it was last written, UTC
  std::string library;  ///< the version of this library that did it
  std::int64_t fileBytes = 0;
  std::int64_t answers = 0;
  std::int64_t answersOfNoRun = 0;
  std::int64_t blocks = 0;
  std::int64_t storedBytes = 0;  ///< of all blocks, each counted once
  std::int64_t rawBytes = 0;     ///< of the same before compression
};

/// A snapshot file, open for reading as long as one of these lives. Runs that were read and found whole stay
/// in memory, up to 16 MB for each of the two files used last, for whoever asks next. It may be used by
/// several threads at a time, but not by a process that was forked off meanwhile. What it reads it never
/// trusts: a file that is damaged, or made to do harm, gives an error and costs a bounded amount of memory.
class BRIO_EXPORT_PRIVATE SnapshotFile {
public:
  /// Opens a file, or gives the one that this process has open: the same path with the same file behind it.
  /// \throws cet::exception "BrioDatabase" naming the file and why it cannot be read: there is none, it is no
  ///         snapshot, it is damaged, it was made by a newer library.
  static std::shared_ptr<SnapshotFile> Open(const std::string& path);

  ~SnapshotFile();
  SnapshotFile(const SnapshotFile&) = delete;
  SnapshotFile& operator=(const SnapshotFile&) = delete;

  /// False in a process that was forked off the one that opened it, which then opens the file for itself.
  bool IsOwner() const;
  const std::string& Path() const;
  /// \throws cet::exception "BrioDatabase" when the file is damaged; so do the next two.
  SnapshotSummary Summary() const;
  /// In the order of detectors and numbers.
  std::vector<RunContents> Runs() const;

  /// Reads all of a run: hashes, sizes, and whether everything in it can be decoded.
  /// \return what is wrong, or nothing
  std::optional<std::string> Verify(const std::string& detector, int run);
  /// The same of every run, of what belongs to none and of the file as a whole. \return what is wrong, a line
  /// each
  std::vector<std::string> VerifyAll();

  /// The answer to a statement: of the run, when it is given and saved here, else the one saved last. Reading
  /// the first answer of a run verifies all of the run.
  /// \throws cet::exception "BrioDatabase" when there is none, with what the snapshot holds instead, or when
  ///         the run is damaged.
  std::shared_ptr<const StoredAnswer> Find(const AnswerKey& key, std::optional<int> run);

private:
  explicit SnapshotFile(std::shared_ptr<SharedSnapshot> shared);
  std::shared_ptr<SharedSnapshot> shared_;
};

}  // namespace brio::dbi::snapshot
