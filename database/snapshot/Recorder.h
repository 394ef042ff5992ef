#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "database/snapshot/AnswerKey.h"
#include "database/snapshot/RecordedRows.h"
#include "database/snapshot/ResultColumn.h"

namespace brio::dbi::snapshot {

/// What a reader kept of an answer's rows (RowDigest).
struct RecordedDigest {
  std::string name;
  std::string bytes;
  std::uint64_t rows = 0;  ///< that the source gave
};

/// A good answer: rows, a digest in their place, or neither for a statement that returns none.
struct RecordedAnswer {
  bool hasRows = false;
  std::vector<ResultColumn> columns;
  RecordedRows rows;
  std::optional<RecordedDigest> digest;
};

/// A statement that failed or could not be sent, or a session that could not be had (then without a text).
struct RecordedFailure {
  std::string detector;
  DatabaseKind kind = DatabaseKind::Runs;
  std::string statement;
  std::string reason;  ///< the source's own words, if it had any
};

/// Is told what the statements of recording sessions gave. Sessions of several threads may call it at once.
class Recorder {
public:
  Recorder() = default;
  virtual ~Recorder() = default;
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Called before a statement is sent. \return false when its answer is known: it is then not kept again
  virtual bool IsWanted(const AnswerKey& key) noexcept = 0;
  /// What this throws becomes a failure.
  virtual void Keep(const AnswerKey& key, RecordedAnswer answer, const SessionSource& source) = 0;
  virtual void NoteFailure(const RecordedFailure& failure) noexcept = 0;
};

}  // namespace brio::dbi::snapshot
