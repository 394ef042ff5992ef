#pragma once

#include <string>

#include "framework/Export.h"

namespace brio::dbi {

/// Helpers for the texts that the database holds.
class BRIO_EXPORT Util {
public:
  /// Converts a time text of the form "2010-01-01 00:00:00", with or without a fraction of a second (which is
  /// cut off), read as UTC, to seconds since 1970.
  /// \return false, with `t` unchanged, when the text is not such a time or names a day that does not exist.
  static bool TimeAsStringToTime_t(std::string text, long& t);
};

}  // namespace brio::dbi
