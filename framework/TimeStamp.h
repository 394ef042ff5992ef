#pragma once

// The ROOT toolkit's TTimeStamp where there is one; elsewhere a class of the same name with the operations
// that this project calls, so that the calling code is one and the same.
#ifdef BRIO_HAVE_ROOT
#include <TTimeStamp.h>
#else

#include <cstdint>

#include "framework/Export.h"

/// A time stamp in seconds and nanoseconds since 1970-01-01 UTC.
class BRIO_EXPORT TTimeStamp {
public:
  /// From calendar fields. With isUTC the fields are UTC, otherwise local time; secOffset seconds are added.
  /// Fields outside their calendar range carry over as timegm carries them (month 13 is January of the next
  /// year, day 0 the last of the month before).
  TTimeStamp(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
             unsigned int second, unsigned int nanosecond = 0, bool isUTC = true, int secOffset = 0);

  /// Seconds since 1970-01-01 UTC, nanoseconds as the fraction.
  double AsDouble() const;

private:
  std::int64_t seconds_ = 0;
  std::int32_t nanoseconds_ = 0;
};

#endif
