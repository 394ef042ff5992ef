#include "RunHistory/NumberText.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale and strtod_l are POSIX, not C++
#include <array>
#include <cfloat>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

#if __has_include(<xlocale.h>)
#include <xlocale.h>  // where macOS has newlocale and strtod_l
#endif

namespace brio::dbi {
namespace {

bool IsBlank(char character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
bool IsDigit(char character) { return character >= '0' && character <= '9'; }

/// The number that is all of a text, when it is so short that one division gives it exactly rounded: up to 15
/// digits, perhaps with a point. Most are, and from_chars takes several times as long for them.
std::optional<double> ShortNumberIn(const char* text) {
  constexpr std::ptrdiff_t kMostDigits = 15;  // below 2^53, as is each power of ten up to here
  static constexpr std::array<double, kMostDigits + 1> kPowersOfTen{
      1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  if constexpr (FLT_EVAL_METHOD != 0) { return std::nullopt; }  // it would be rounded twice
  const bool negative = *text == '-';
  if (negative) { ++text; }
  std::uint64_t digits = 0;
  const auto readDigits = [&] {
    const char* const first = text;
    for (; IsDigit(*text); ++text) {
      digits = 10 * digits + static_cast<std::uint64_t>(*text - '0');
    }
    return text - first;
  };
  std::ptrdiff_t nDigits = readDigits();
  std::ptrdiff_t nDecimals = 0;
  if (*text == '.') {
    ++text;
    nDecimals = readDigits();
    nDigits += nDecimals;
  }
  if (*text != '\0' || nDigits == 0 || nDigits > kMostDigits) { return std::nullopt; }
  const double magnitude = static_cast<double>(static_cast<std::int64_t>(digits)) /
                           kPowersOfTen[static_cast<std::size_t>(nDecimals)];
  return negative ? -magnitude : magnitude;
}

double NumberInCLocale(const char* text) {
  static const locale_t kCLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, nullptr, kCLocale);
}

}  // namespace

int IntegerIn(const char* text) {
  while (IsBlank(*text)) {
    ++text;
  }
  const bool negative = *text == '-';
  if (negative || *text == '+') { ++text; }
  // The smallest int has no positive counterpart, so the magnitude is kept wider.
  constexpr std::int64_t kLargest = std::numeric_limits<int>::max();
  std::int64_t magnitude = 0;
  for (; IsDigit(*text); ++text) {
    magnitude = 10 * magnitude + (*text - '0');
    if (magnitude > kLargest + 1) { magnitude = kLargest + 1; }
  }
  if (negative) { return static_cast<int>(-magnitude); }
  return static_cast<int>(magnitude > kLargest ? kLargest : magnitude);
}

double NumberIn(const char* text) {
  if (const auto value = ShortNumberIn(text)) { return *value; }
  // from_chars reads the plain forms several times faster and to the same value; whatever it does not read to
  // the end goes the way of the C library.
  const char* end = text + std::strlen(text);
  double value = 0.0;
  const auto [stop, error] = std::from_chars(text, end, value);
  return error == std::errc() && stop == end ? value : NumberInCLocale(text);
}

float NearestFloat(double number) {
  // The language leaves open what the conversion of a number out of a float's range does.
  constexpr float kLargest = std::numeric_limits<float>::max();
  constexpr double kHalfStep = 0x1p103;  // half of what the next float would be apart, if there were one
  const double magnitude = std::fabs(number);
  if (!(magnitude > kLargest)) { return static_cast<float>(number); }
  const float nearest = magnitude < kLargest + kHalfStep ? kLargest : std::numeric_limits<float>::infinity();
  return number < 0 ? -nearest : nearest;
}

}  // namespace brio::dbi
