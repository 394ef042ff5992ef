#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/PackedAnswer.h"
#include "database/snapshot/SQLite.h"
#include "database/snapshot/SavedRun.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// What stands in the row of a run's key.
ContentHash HashOf(const SavedRun& run, const std::vector<ContentHash>& answers);

/// A run with its number in the file.
struct RunRow : SavedRun {
  std::int64_t id = 0;
};

/// The blocks that somebody uses, so that none is read twice.
using FramesInUse = std::map<ContentHash, std::weak_ptr<const Frame>>;

/// A run, or one answer that belongs to none, of which everything was read and found whole.
struct VerifiedAnswers {
  /// By the hash of the question, which was read with the answer: an index may lead to another's.
  std::map<ContentHash, std::shared_ptr<const PackedAnswer>> byQuestion;
  std::size_t bytes = 0;  ///< of all frames
};

/// The tables of an open snapshot. \throws SnapshotError from all, when the file is damaged
class BRIO_EXPORT_PRIVATE SnapshotTables {
public:
  /// \throws cet::exception "BrioDatabase" with the file's name when it is no snapshot, or of another version
  explicit SnapshotTables(const std::string& path);

  std::string Value(const std::string& key) const;
  std::int64_t Count(const std::string& what) const;

  std::vector<RunRow> Runs() const;
  std::optional<RunRow> FindRun(const std::string& detector, int run) const;
  /// Those of a question, the one saved last first.
  std::vector<std::int64_t> AnswersTo(const ContentHash& question) const;
  std::vector<std::int64_t> RunsWith(std::int64_t answer) const;
  std::vector<std::int64_t> AnswersOfNoRun() const;

  /// Every run with what it takes up.
  std::vector<RunContents> Contents() const;

  /// Reads all of a run, and checks it.
  VerifiedAnswers ReadRun(std::int64_t run, FramesInUse& frames) const;
  /// The same of one answer.
  VerifiedAnswers ReadAnswer(std::int64_t answer, FramesInUse& frames) const;
  /// What a block's frame holds, checked again.
  std::string ReadFrame(const ContentHash& hash) const;
  /// What SQLite itself finds wrong with the file; empty for nothing.
  std::string IntegrityComplaint() const;

  const SQLiteFile& File() const { return file_; }

private:
  RunRow RunAt(SQLiteQuery& query) const;
  void ReadAnswers(SQLiteQuery& query, FramesInUse& frames, VerifiedAnswers& verified,
                   std::vector<ContentHash>& hashes) const;
  std::shared_ptr<const Frame> ReadFrame(SQLiteQuery& block, const ContentHash& hash,
                                         FramesInUse& frames) const;

  SQLiteFile file_;
};

}  // namespace brio::dbi::snapshot
