#include "database/snapshot/Blocks.h"

#include <memory>

#include <zstd.h>

#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {
namespace {

constexpr int kLevel = 3;

}  // namespace

std::string Compress(std::string_view raw) {
  if (raw.size() > kLargestBlock) {
    throw SnapshotError("one column of an answer has " + std::to_string(raw.size()) + " bytes, more than " +
                        std::to_string(kLargestBlock));
  }
  std::string frame(ZSTD_compressBound(raw.size()), '\0');
  const std::size_t size = ZSTD_compress(frame.data(), frame.size(), raw.data(), raw.size(), kLevel);
  if (ZSTD_isError(size) != 0U) { throw SnapshotError(ZSTD_getErrorName(size)); }
  frame.resize(size);
  return frame;
}

bool IsFrameOf(std::string_view frame, std::size_t size) {
  return size <= kLargestBlock && frame.size() <= ZSTD_compressBound(size) &&
         ZSTD_getFrameContentSize(frame.data(), frame.size()) == size;
}

std::string Decompress(std::string_view frame, std::size_t size) {
  if (!IsFrameOf(frame, size)) { throw SnapshotError("a block has another size than it should have"); }
  std::string raw(size, '\0');
  const std::size_t got = ZSTD_decompress(raw.data(), raw.size(), frame.data(), frame.size());
  if (ZSTD_isError(got) != 0U || got != size) { throw SnapshotError("a block cannot be decompressed"); }
  return raw;
}

}  // namespace brio::dbi::snapshot
