#pragma once

#include <string>
#include <vector>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
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

/// A value of a board that both runs know, with different values.
struct ChangedValue {
  std::string board;
  std::string before;
  std::string after;
};

/// One quantity of the boards.
struct ChangedQuantity {
  const char* name;
  const char* key;
  int compared = 0;  ///< boards of which both runs know it
  int knownInOneOnly = 0;
  std::vector<ChangedValue> changed;
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
  /// Serials, gains, voltages and temperatures.
  std::vector<ChangedQuantity> quantities;
  /// Why thresholds and quantities were not compared; empty when they were.
  std::string notCompared;
};

/// A run with all that is compared. Its boards are read off when it is loaded, before another run's hardware
/// takes their place.
struct ComparedRun {
  ComparedRun(int run, const std::string& detector) : history(run, detector) {}

  brio::dbi::RunHistory history;
  LoadedParts parts;
  arrays::Boards boards;
  arrays::Channels channels;
  std::vector<ChangedFact> facts;  ///< by name, in `before`
};

/// Loads a run and reads off what is compared.
void LoadForComparison(ComparedRun& run);

/// Compares two runs that were loaded for it, at least up to their configuration.
RunDifference Compare(const ComparedRun& before, const ComparedRun& after);

}  // namespace brio::tools
