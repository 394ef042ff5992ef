#include "tools/shared/TerminalText.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace brio::tools {
namespace {

struct Character {
  std::uint32_t code = 0;
  std::size_t size = 0;  ///< bytes; 0 where there is no character of UTF-8
};

Character CharacterAt(std::string_view text) {
  const auto byte = [&](std::size_t i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]));
  };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80U) { return {lead, 1}; }
  const std::size_t size = lead >= 0xF0U ? 4 : lead >= 0xE0U ? 3 : 2;
  if (lead < 0xC2U || lead > 0xF4U || text.size() < size) { return {}; }
  std::uint32_t code = lead & (0xFFU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xC0U) != 0x80U) { return {}; }
    code = (code << 6U) | (byte(i) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  const bool isHalf = code >= 0xD800U && code <= 0xDFFFU;
  if (code < kSmallest.at(size) || isHalf || code > 0x10FFFFU) { return {}; }
  return {code, size};
}

/// Characters that a terminal, or whoever looks at one, is led astray by.
bool IsControl(std::uint32_t code) {
  return code < 0x20U || (code >= 0x7FU && code < 0xA0U) ||  // C0, DEL, C1
         code == 0x61CU || code == 0x200EU || code == 0x200FU || (code >= 0x2028U && code <= 0x202EU) ||
         (code >= 0x2066U && code <= 0x2069U);  // direction, separators of lines
}

std::string Escaped(std::string_view bytes) {
  constexpr const char* kDigits = "0123456789abcdef";
  if (bytes == "\n") { return "\\n"; }
  if (bytes == "\r") { return "\\r"; }
  if (bytes == "\t") { return "\\t"; }
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xFU]};
  }
  return text;
}

}  // namespace

std::string Visible(const std::string& text) {
  std::string visible;
  std::string_view rest = text;
  while (!rest.empty()) {
    const Character character = CharacterAt(rest);
    const auto bytes = rest.substr(0, character.size > 0 ? character.size : 1);
    if (character.size > 0 && !IsControl(character.code)) {
      visible += bytes;
    } else {
      visible += Escaped(bytes);
    }
    rest.remove_prefix(bytes.size());
  }
  return visible;
}

}  // namespace brio::tools
