#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::dbi {

/// Tells the DAQ-configuration and slow-control look-ups, through the process environment, which detector
/// they are asked about. The variable stays set.
inline void SetDAQEnvironment(const std::string& detectorName) {
  setenv("BRIODAQ_ENVIRONMENT", detectorName.c_str(), 1);
}

/// Names of the DCMs that took part in a run, which the look-ups are asked about.
inline std::vector<std::string> ActiveDCMNames(const std::vector<RunHistory::DiBlock>& diblocks) {
  std::vector<std::string> names;
  for (const auto& diblock : diblocks) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { names.push_back(dcm.appName); }
    }
  }
  return names;
}

}  // namespace brio::dbi
