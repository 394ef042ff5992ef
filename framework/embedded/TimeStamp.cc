#include "framework/TimeStamp.h"

#ifndef BRIO_HAVE_ROOT

#include <algorithm>
#include <ctime>
#include <limits>

namespace {

constexpr unsigned int kNanosecondsPerSecond = 1'000'000'000;

// A calendar field as the C library counts it; a negative number that came in as an unsigned one is negative
// again. No field overflows.
int FieldFrom(unsigned int value, int zero) {
  const std::int64_t field = std::int64_t{static_cast<std::int32_t>(value)} - zero;
  return static_cast<int>(std::max<std::int64_t>(field, std::numeric_limits<int>::min()));
}

}  // namespace

TTimeStamp::TTimeStamp(unsigned int year, unsigned int month, unsigned int day, unsigned int hour,
                       unsigned int minute, unsigned int second, unsigned int nanosecond, bool isUTC,
                       int secOffset)
    : nanoseconds_(static_cast<std::int32_t>(nanosecond % kNanosecondsPerSecond)) {
  std::tm fields{};
  fields.tm_year = FieldFrom(year, 1900);
  fields.tm_mon = FieldFrom(month, 1);
  fields.tm_mday = FieldFrom(day, 0);
  fields.tm_hour = FieldFrom(hour, 0);
  fields.tm_min = FieldFrom(minute, 0);
  fields.tm_sec = FieldFrom(second, 0);
  fields.tm_isdst = -1;
  seconds_ = static_cast<std::int64_t>(isUTC ? timegm(&fields) : mktime(&fields)) + secOffset +
             nanosecond / kNanosecondsPerSecond;
}

double TTimeStamp::AsDouble() const {
  return static_cast<double>(seconds_) + 1e-9 * static_cast<double>(nanoseconds_);
}

#endif
