#include "RunHistory/GainsDigest.h"

#include <cstdint>

#include "database/LittleEndian.h"

namespace brio::dbi {
namespace {

constexpr std::size_t kPixels = 32;
constexpr std::size_t kGainsSize = kPixels * sizeof(float);

}  // namespace

// The number of APDs, the lengths of their serials, the serials, then 32 gains each.
std::string GainsBytes(const GainsBySerial& gains) {
  std::string bytes;
  littleendian::Append(bytes, static_cast<std::uint32_t>(gains.size()));
  for (const auto& [serial, values] : gains) {
    littleendian::Append(bytes, static_cast<std::uint32_t>(serial.size()));
  }
  for (const auto& [serial, values] : gains) {
    bytes += serial;
  }
  for (const auto& [serial, values] : gains) {
    littleendian::Append(bytes, values.data(), kPixels);
  }
  return bytes;
}

std::optional<GainsBySerial> GainsFrom(std::string_view bytes) {
  littleendian::Cursor cursor(bytes);
  std::uint32_t count = 0;
  if (!cursor.Take(count)) { return std::nullopt; }
  const char* lengths = cursor.Take(std::uint64_t{count} * sizeof(std::uint32_t));
  if (lengths == nullptr || cursor.Left() < std::uint64_t{count} * kGainsSize) { return std::nullopt; }
  littleendian::Cursor serials(
      bytes.substr(bytes.size() - cursor.Left(), cursor.Left() - count * kGainsSize));
  const char* values = bytes.data() + bytes.size() - count * kGainsSize;
  GainsBySerial gains;
  for (std::size_t i = 0; i < count; ++i) {
    const auto length = littleendian::At<std::uint32_t>(lengths, i);
    const char* serial = serials.Take(std::uint64_t{length});
    if (serial == nullptr) { return std::nullopt; }
    const auto apd = gains.try_emplace(gains.end(), std::string(serial, length));
    if (gains.size() != i + 1) { return std::nullopt; }
    apd->second.resize(kPixels);
    std::memcpy(apd->second.data(), values + i * kGainsSize, kGainsSize);
  }
  if (serials.Left() != 0) { return std::nullopt; }
  return gains;
}

}  // namespace brio::dbi
