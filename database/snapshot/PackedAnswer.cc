#include "database/snapshot/PackedAnswer.h"

#include <utility>

#include "database/snapshot/Blocks.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {

PackedAnswer::PackedAnswer(AnswerRecord record, std::vector<std::shared_ptr<const Frame>> frames)
    : record_(std::move(record)), frames_(std::move(frames)) {}

std::shared_ptr<const StoredAnswer> PackedAnswer::Unpack(const FrameReader& read) const {
  if (auto known = unpacked_.lock()) { return known; }
  std::vector<Block> blocks;
  blocks.reserve(frames_.size());
  for (const auto& frame : frames_) {
    auto block = std::make_shared<const std::string>(
        Decompress(frame->data.empty() ? read(frame->hash) : frame->data, frame->size));
    if (HashOf(*block) != frame->hash) {
      throw SnapshotError("a block has another hash than it should have");
    }
    blocks.push_back(std::move(block));
  }
  auto answer = std::make_shared<const StoredAnswer>(record_, std::move(blocks));
  unpacked_ = answer;
  return answer;
}

}  // namespace brio::dbi::snapshot
