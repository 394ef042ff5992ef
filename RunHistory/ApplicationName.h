#pragma once

#include <string>

#include "RunHistory/NumberText.h"

namespace brio::dbi {

/// Where a DCM stands, as its application name tells.
struct DCMPlace {
  int diblock;
  int dcm;
};

/// Reads a DCM's application name, "dcm-d-DD-CC": the diblock from the two characters at position 6, the DCM
/// from those at position 9. What is no number reads as 0. \throws std::out_of_range for a name too short
inline DCMPlace PlaceOfDCM(const std::string& appName) {
  return {IntegerIn(appName.substr(6, 2)), IntegerIn(appName.substr(9, 2))};
}

}  // namespace brio::dbi
