#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "database/snapshot/StoredAnswer.h"

namespace brio::dbi::snapshot {

/// A block as it lies in the file, found whole. Those that are not small are read again when they are needed.
struct Frame {
  ContentHash hash{};    ///< of what is in it
  std::size_t size = 0;  ///< of what is in it
  std::string data;      ///< empty when it is to be read again
};

/// Gives the bytes of a frame that were not kept, checked as they were before. \throws SnapshotError
using FrameReader = std::function<std::string(const ContentHash& hash)>;

/// An answer that was found whole, and is decompressed only while somebody reads it: a job that asks little
/// of a run pays little, and no memory is kept for what was read already.
class PackedAnswer {
public:
  PackedAnswer(AnswerRecord record, std::vector<std::shared_ptr<const Frame>> frames);

  /// \throws SnapshotError when the frames do not hold what the record says, which no damage but only a file
  /// made so can bring about
  std::shared_ptr<const StoredAnswer> Unpack(const FrameReader& read) const;

private:
  AnswerRecord record_;
  std::vector<std::shared_ptr<const Frame>> frames_;
  mutable std::weak_ptr<const StoredAnswer> unpacked_;
};

}  // namespace brio::dbi::snapshot
