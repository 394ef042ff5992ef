#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// XXH3-128 of some bytes, in its canonical form (as `xxhsum -H2` prints it). It tells damage, not forgery.
using ContentHash = std::array<char, 16>;

BRIO_EXPORT_PRIVATE ContentHash HashOf(std::string_view bytes);

inline std::string_view BytesOf(const ContentHash& hash) { return {hash.data(), hash.size()}; }

/// A stored hash, and a list of them. \throws SnapshotError when the bytes are another number
ContentHash HashIn(std::string_view bytes);
std::vector<ContentHash> HashesIn(std::string_view bytes);

/// The hash of several texts and numbers, of which none can be taken for a part of its neighbour: numbers are
/// eight bytes, little-endian, and each text follows its length.
class Fingerprint {
public:
  Fingerprint& Text(std::string_view text);
  Fingerprint& Number(std::int64_t number);
  ContentHash Hash() const { return HashOf(bytes_); }

private:
  std::string bytes_;
};

}  // namespace brio::dbi::snapshot
