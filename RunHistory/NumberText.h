#pragma once

#include <string>

#include "framework/Export.h"

namespace brio::dbi {

/// The number that a text begins with, as atoi reads it: blanks, a sign, digits; 0 without digits. What does
/// not fit is the nearest number that does.
BRIO_EXPORT_PRIVATE int IntegerIn(const char* text);
inline int IntegerIn(const std::string& text) { return IntegerIn(text.c_str()); }

/// The number that a text begins with, as atof reads it in the C locale; 0 when there is none.
BRIO_EXPORT_PRIVATE double NumberIn(const char* text);

/// The float nearest to a number; an infinity for a number that is too large to have one.
BRIO_EXPORT_PRIVATE float NearestFloat(double number);
/// The number that a text begins with, as a float.
inline float FloatIn(const char* text) { return NearestFloat(NumberIn(text)); }

}  // namespace brio::dbi
