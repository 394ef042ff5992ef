#pragma once

#include "framework/Export.h"

namespace brio::dbi {

/// Seconds since 1970 UTC of a hardware date text such as "2013-05-06 14:35:09".
///
/// The pieces are cut at fixed places: year 0-3, month 5-6, day 8-9, hour 12-13, minute 15-16, second 18-19.
/// Those of the time of day lie one place to the right of where it stands, so that 14:35:09 is read as
/// 04:05:09; whoever compares such times counts on it. Missing pieces are 0.
BRIO_EXPORT_PRIVATE double HardwareDate(const char* text);

}  // namespace brio::dbi
