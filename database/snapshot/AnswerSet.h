#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "database/snapshot/Recorder.h"
#include "database/snapshot/SnapshotWriter.h"
#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// Recorded answers in memory, each key's once.
class BRIO_EXPORT_PRIVATE AnswerSet {
public:
  struct Entry {
    AnswerKey key;
    RecordedAnswer answer;
  };

  /// The place of a key's answer; nothing when there is none.
  const std::size_t* Find(const AnswerKey& key) const;
  /// \return the place of the answer, of the one that was there before if the key had one
  std::size_t Add(const AnswerKey& key, RecordedAnswer answer);
  const std::vector<Entry>& Entries() const { return entries_; }

private:
  std::map<std::string, std::size_t> places_;
  std::vector<Entry> entries_;
};

/// Hands a recorded answer over to a file.
BRIO_EXPORT_PRIVATE SnapshotWriter::Answer Write(SnapshotWriter& writer, const AnswerSet::Entry& entry);

}  // namespace brio::dbi::snapshot
