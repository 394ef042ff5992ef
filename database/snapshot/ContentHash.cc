#include "database/snapshot/ContentHash.h"

#include <cstring>

#include <xxhash.h>

#include "database/LittleEndian.h"
#include "database/snapshot/SnapshotError.h"

namespace brio::dbi::snapshot {

ContentHash HashOf(std::string_view bytes) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
  ContentHash hash;
  static_assert(sizeof(canonical.digest) == sizeof(hash));
  std::memcpy(hash.data(), canonical.digest, sizeof(hash));
  return hash;
}

ContentHash HashIn(std::string_view bytes) {
  ContentHash hash{};
  if (bytes.size() != hash.size()) { throw SnapshotError("a hash has another length"); }
  std::memcpy(hash.data(), bytes.data(), hash.size());
  return hash;
}

std::vector<ContentHash> HashesIn(std::string_view bytes) {
  std::vector<ContentHash> hashes;
  hashes.reserve(bytes.size() / sizeof(ContentHash));
  for (; !bytes.empty(); bytes.remove_prefix(sizeof(ContentHash))) {
    hashes.push_back(HashIn(bytes.substr(0, sizeof(ContentHash))));
  }
  return hashes;
}

Fingerprint& Fingerprint::Text(std::string_view text) {
  Number(static_cast<std::int64_t>(text.size()));
  bytes_ += text;
  return *this;
}

Fingerprint& Fingerprint::Number(std::int64_t number) {
  littleendian::Append(bytes_, number);
  return *this;
}

}  // namespace brio::dbi::snapshot
