#include "database/snapshot/AnswerSet.h"

#include <utility>

namespace brio::dbi::snapshot {
namespace {

/// One text that no other key has: a zero byte can stand in none of its parts.
std::string TextOf(const AnswerKey& key) {
  const std::string separator(1, '\0');
  std::string text = key.detector + separator + std::to_string(static_cast<int>(key.kind)) + separator +
                     (key.binary ? "b" : "t") + separator + key.statement;
  for (const auto& parameter : key.parameters) {
    text += separator + parameter;
  }
  return text;
}

}  // namespace

const std::size_t* AnswerSet::Find(const AnswerKey& key) const {
  const auto found = places_.find(TextOf(key));
  return found == places_.end() ? nullptr : &found->second;
}

std::size_t AnswerSet::Add(const AnswerKey& key, RecordedAnswer answer) {
  const auto [place, isNew] = places_.emplace(TextOf(key), entries_.size());
  if (isNew) { entries_.push_back({key, std::move(answer)}); }
  return place->second;
}

SnapshotWriter::Answer Write(SnapshotWriter& writer, const AnswerSet::Entry& entry) {
  const RecordedAnswer& answer = entry.answer;
  if (!answer.hasRows) { return writer.AddCommand(entry.key); }
  if (!answer.digest) { return writer.Add(entry.key, answer.columns, answer.rows); }
  return writer.AddDigest(entry.key, answer.columns, answer.digest->rows, answer.digest->name,
                          answer.digest->bytes);
}

}  // namespace brio::dbi::snapshot
