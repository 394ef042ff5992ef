#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/RecordedRows.h"
#include "database/snapshot/ResultColumn.h"
#include "database/snapshot/SavedRun.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// Makes a snapshot file. All goes into a temporary file in the folder of the file to be, which takes its
/// place as a whole, and for good, in Commit; without that nothing is left. Used by one thread at a time.
///
/// \throws cet::exception "BrioDatabase", naming the file and the reason, from every member function: no such
///         folder, no space, a value that cannot be stored. The file that was there stays as it was.
class BRIO_EXPORT_PRIVATE SnapshotWriter {
public:
  /// The number of an answer in this file.
  using Answer = std::int64_t;

  explicit SnapshotWriter(const std::string& path);
  /// Removes the temporary file, unless it was committed.
  ~SnapshotWriter();
  SnapshotWriter(const SnapshotWriter&) = delete;
  SnapshotWriter& operator=(const SnapshotWriter&) = delete;

  /// For a handler of signals, which has to remove it when the process ends by one.
  const std::string& TemporaryPath() const;

  /// Takes over everything from another snapshot, which is verified first, perhaps the one that the new file
  /// is to replace; before anything else is added.
  void Append(const std::string& snapshot);

  /// Stores an answer with rows, perhaps none. The same content under the same key is stored once.
  Answer Add(const AnswerKey& key, const std::vector<ResultColumn>& columns, const RecordedRows& rows);
  /// Stores the answer of a statement that went well and returns no rows.
  Answer AddCommand(const AnswerKey& key);
  /// Stores an answer whose rows were not kept, only what a RowDigest made of them.
  /// \param rows  how many the server gave
  Answer AddDigest(const AnswerKey& key, const std::vector<ResultColumn>& columns, std::uint64_t rows,
                   const std::string& name, std::string_view bytes);

  /// Says that a run is in the file and which answers are its own: every one that was given while it was
  /// read. A run that is there already is replaced, and answers that nothing else uses go with it.
  void AddRun(const SavedRun& run, const std::vector<Answer>& answers);

  /// Bytes written so far, compressed.
  std::int64_t Size() const;

  /// Brings the file to the disk and puts it in its place.
  void Commit();

private:
  class Impl;
  std::string path_;
  std::unique_ptr<Impl> impl_;
};

}  // namespace brio::dbi::snapshot
