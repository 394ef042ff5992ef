#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// No block is larger before compression, so that none can claim more memory than that.
inline constexpr std::size_t kLargestBlock = std::size_t{64} << 20U;

/// Nor do the blocks that are needed at the same time,
inline constexpr std::size_t kLargestRun = std::size_t{256} << 20U;
/// nor the rows of an answer when they are taken apart.
inline constexpr std::size_t kMostCells = std::size_t{1} << 25U;

/// zstd's frame for a block. \throws SnapshotError when the block is too large
BRIO_EXPORT_PRIVATE std::string Compress(std::string_view raw);

/// Whether a frame says that it holds so many bytes, and is no longer than that needs.
bool IsFrameOf(std::string_view frame, std::size_t size);

/// What a frame holds, if that is so many bytes. \throws SnapshotError when it is not
BRIO_EXPORT_PRIVATE std::string Decompress(std::string_view frame, std::size_t size);

}  // namespace brio::dbi::snapshot
