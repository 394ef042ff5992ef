#pragma once

#include <string>
#include <vector>

#include "tools/shared/Loading.h"

namespace brio::tools {

/// A fact that both runs have, with different values.
struct ChangedFact {
  std::string name;
  std::string before;
  std::string after;
};

/// What is there in one run and not in the other.
struct ChangedSet {
  std::vector<std::string> onlyBefore;
  std::vector<std::string> onlyAfter;

  bool IsEmpty() const { return onlyBefore.empty() && onlyAfter.empty(); }
};

/// A pixel that both runs enable, with different thresholds.
struct ChangedThreshold {
  unsigned int diblock;
  unsigned int dcm;
  unsigned int port;
  unsigned int pixel;
  int before;
  int after;
};

/// What changed from one run to another of the same detector. Boards are written "diblock/DCM/port".
struct RunDifference {
  std::vector<ChangedFact> facts;
  ChangedSet dcms;
  ChangedSet eventBuilders;
  ChangedSet installed;
  /// Of boards that are installed in both runs.
  ChangedSet enabled;
  /// Of boards that are installed and enabled in both runs.
  std::vector<ChangedThreshold> thresholds;
  int comparedThresholds = 0;
};

/// Compares two run records that were loaded up to their configuration.
RunDifference Compare(brio::dbi::RunHistory& before, brio::dbi::RunHistory& after);

}  // namespace brio::tools
