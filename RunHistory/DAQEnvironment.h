#pragma once

#include <cstdlib>
#include <string>

namespace brio::dbi {

/// Tells the DAQ-configuration and slow-control look-ups, through the process environment, which detector
/// they are asked about. The variable stays set.
inline void SetDAQEnvironment(const std::string& detectorName) {
  setenv("BRIODAQ_ENVIRONMENT", detectorName.c_str(), 1);
}

}  // namespace brio::dbi
