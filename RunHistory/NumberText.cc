#include "RunHistory/NumberText.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale and strtod_l are POSIX, not C++
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#if __has_include(<xlocale.h>)
#include <xlocale.h>  // where macOS has newlocale and strtod_l
#endif

namespace brio::dbi {
namespace {

bool IsBlank(char character) { return character == ' ' || (character >= '\t' && character <= '\r'); }
bool IsDigit(char character) { return character >= '0' && character <= '9'; }

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
