#include "framework/TimeStamp.h"

#ifndef BRIO_HAVE_ROOT

#include <ctime>

TTimeStamp::TTimeStamp(unsigned int year, unsigned int month, unsigned int day, unsigned int hour,
                       unsigned int minute, unsigned int second, unsigned int nanosecond, bool isUTC,
                       int secOffset)
    : seconds_(0), nanoseconds_(static_cast<std::int32_t>(nanosecond)) {
  std::tm fields{};
  fields.tm_year = static_cast<int>(year) - 1900;
  fields.tm_mon = static_cast<int>(month) - 1;
  fields.tm_mday = static_cast<int>(day);
  fields.tm_hour = static_cast<int>(hour);
  fields.tm_min = static_cast<int>(minute);
  fields.tm_sec = static_cast<int>(second);
  fields.tm_isdst = -1;
  seconds_ = static_cast<std::int64_t>(isUTC ? timegm(&fields) : mktime(&fields)) + secOffset;
}

double TTimeStamp::AsDouble() const {
  return static_cast<double>(seconds_) + 1e-9 * static_cast<double>(nanoseconds_);
}

#endif
