#include "tools/maps/IndexedImage.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace brio::tools {
namespace {

std::string BigEndian(std::uint32_t number) {
  std::string bytes;
  for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
    bytes += static_cast<char>((number >> shift) & 0xFFU);
  }
  return bytes;
}

std::uint32_t Crc32(const std::string& bytes) {
  static const auto kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
      std::uint32_t rest = i;
      for (int bit = 0; bit < 8; ++bit) {
        rest = (rest & 1U) != 0 ? 0xEDB88320U ^ (rest >> 1U) : rest >> 1U;
      }
      table.at(i) = rest;
    }
    return table;
  }();
  std::uint32_t crc = 0xFFFFFFFFU;
  for (const char byte : bytes) {
    crc = kTable.at((crc ^ static_cast<std::uint8_t>(byte)) & 0xFFU) ^ (crc >> 8U);
  }
  return ~crc;
}

std::uint32_t Adler32(const std::string& bytes) {
  constexpr std::uint32_t kModulus = 65521;
  std::uint32_t a = 1;
  std::uint32_t b = 0;
  for (const char byte : bytes) {
    a = (a + static_cast<std::uint8_t>(byte)) % kModulus;
    b = (b + a) % kModulus;
  }
  return (b << 16U) | a;
}

std::string Chunk(const std::string& type, const std::string& data) {
  return BigEndian(static_cast<std::uint32_t>(data.size())) + type + data + BigEndian(Crc32(type + data));
}

/// In the form that zlib reads, as blocks that are stored as they are.
std::string Stored(const std::string& bytes) {
  constexpr std::size_t kLargest = 65535;
  std::string stream = "\x78\x01";
  for (std::size_t at = 0; at == 0 || at < bytes.size(); at += kLargest) {
    const auto size = std::min(kLargest, bytes.size() - at);
    const auto length = static_cast<std::uint32_t>(size);
    stream += at + size == bytes.size() ? '\x01' : '\x00';
    for (const std::uint32_t part : {length, length >> 8U, ~length, ~length >> 8U}) {
      stream += static_cast<char>(part & 0xFFU);
    }
    stream.append(bytes, at, size);
  }
  return stream + BigEndian(Adler32(bytes));
}

std::string RGBOf(const std::string& color) {
  std::string bytes;
  for (const std::size_t at : {1U, 3U, 5U}) {
    bytes += static_cast<char>(std::stoi(color.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

}  // namespace

IndexedImage::IndexedImage(int width, int height)
    : width_(width),
      height_(height),
      colors_{"#ffffff"},
      pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0) {}

std::uint8_t IndexedImage::NumberOf(const std::string& color) {
  auto found = std::find(colors_.begin() + 1, colors_.end(), color);
  if (found == colors_.end()) {
    constexpr std::size_t kMost = 256;
    if (colors_.size() == kMost) { throw std::length_error("a picture of more than 255 colours"); }
    colors_.push_back(color);
    found = colors_.end() - 1;
  }
  return static_cast<std::uint8_t>(found - colors_.begin());
}

std::string IndexedImage::Png(int timesWide, int timesHigh) const {
  constexpr char kEightBits = 8;
  constexpr char kIndexed = 3;
  std::string header = BigEndian(static_cast<std::uint32_t>(width_ * timesWide)) +
                       BigEndian(static_cast<std::uint32_t>(height_ * timesHigh));
  header += {kEightBits, kIndexed, 0, 0, 0};
  std::string palette;
  for (const auto& color : colors_) {
    palette += RGBOf(color);
  }
  std::string rows;
  const auto width = static_cast<std::size_t>(width_);
  for (std::size_t at = 0; at < pixels_.size(); at += width) {
    std::string row(1, '\0');  // without a filter
    for (std::size_t x = 0; x < width; ++x) {
      row.append(static_cast<std::size_t>(timesWide), static_cast<char>(pixels_[at + x]));
    }
    for (int i = 0; i < timesHigh; ++i) {
      rows += row;
    }
  }
  return "\x89PNG\r\n\x1a\n" + Chunk("IHDR", header) + Chunk("PLTE", palette) +
         Chunk("tRNS", std::string(1, '\0')) + Chunk("IDAT", Stored(rows)) + Chunk("IEND", "");
}

std::string Base64(const std::string& bytes) {
  constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const auto left = std::min<std::size_t>(3, bytes.size() - at);
    std::uint32_t three = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      three = (three << 8U) | (i < left ? static_cast<std::uint8_t>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= left ? kDigits[(three >> (18U - 6U * static_cast<unsigned int>(i))) & 0x3FU] : '=';
    }
  }
  return text;
}

}  // namespace brio::tools
