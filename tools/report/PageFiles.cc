#include "tools/report/PageFiles.h"

#include <array>

namespace brio::tools {
namespace {

unsigned int Digit(char digit) {
  return static_cast<unsigned int>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

}  // namespace

std::string PolicyHash(const EmbeddedFile& file) {
  constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string hexadecimal = file.sha256;
  std::string text;
  unsigned int bits = 0;
  unsigned int count = 0;
  for (const char digit : hexadecimal) {
    bits = bits << 4U | Digit(digit);
    count += 4;
    if (count < 6) { continue; }
    count -= 6;
    text += kDigits[bits >> count & 0x3FU];
  }
  if (count > 0) { text += kDigits[bits << (6 - count) & 0x3FU]; }
  while (text.size() % 4 != 0) {
    text += '=';
  }
  return "'sha256-" + text + "'";
}

}  // namespace brio::tools
