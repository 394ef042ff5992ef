#pragma once

#include <optional>
#include <string>

namespace brio::snapshot {

/// What asking for all of a run showed.
struct AskedRun {
  bool isMissing = false;       ///< the runs table has no such run
  bool wasInterrupted = false;  ///< a statement failed for a reason that can pass (LoadScope::WasInterrupted)
  /// Why not everything could be asked, a missing table definition say; what the databases say is the
  /// recorder's.
  std::optional<std::string> failure;
};

/// Asks a detector's databases whatever the loaders of a run ever ask them, under any setting: the mask's row
/// also where no mask is in use, every diblock whatever the mask. All that is read is of one state of each
/// database. What the loaders print goes where they print.
AskedRun AskForAll(int run, const std::string& detector);

}  // namespace brio::snapshot
