#pragma once

#include <functional>
#include <string>

#include "RunHistory/RunHistory.h"
#include "framework/Export.h"

namespace brio::arrays {

/// How an attempt to load something ended.
struct Outcome {
  bool ok = false;
  /// Why it failed. When it did not: what could not be read meanwhile, for some loaders go on without it;
  /// empty as a rule.
  std::string reason;
  /// The reason is a database's complaint.
  bool databaseComplained = false;

  /// Loaded, and nothing complained.
  bool IsClean() const { return ok && reason.empty(); }
};

/// How far a run is loaded.
enum class Depth { Run, Hardware, Configuration, Settings };

/// What was loaded of a run. What was not asked for is not ok and has no reason.
struct BRIO_EXPORT LoadedParts {
  Outcome run;
  /// The runs table has no such run.
  bool isMissing = false;
  Outcome hardware;
  Outcome configuration;
  Outcome settings;

  /// The first part that failed, or did not load cleanly, up to a depth; else the part at that depth. A
  /// configuration that failed is told of at the depth of the settings too: without it nothing tells which
  /// boards have any.
  const Outcome& UpTo(Depth depth) const;
};

/// The library's loaders of the run record and, after it, of the hardware.
/// \throws std::runtime_error that names the table, for a DCM whose name is missing or too short to cut;
/// else what they throw
BRIO_EXPORT bool LoadRunRecord(brio::dbi::RunHistory& history);
BRIO_EXPORT bool LoadHardware(brio::dbi::RunHistory& history);

/// Runs one loader of the library and tells how that went.
using Attempt = std::function<Outcome(const std::function<bool()>& load)>;

/// An exception counts as a failure, its message as the reason.
BRIO_EXPORT Outcome TryTo(const std::function<bool()>& load);

/// Loads a run up to some depth, and tells of each part how that went. Parts whose prerequisites could not be
/// loaded are not tried, and carry the same reason. What was loaded before is not loaded again.
BRIO_EXPORT LoadedParts LoadRun(brio::dbi::RunHistory& history, Depth depth, const Attempt& attempt = TryTo);

/// Whether it is recorded what is installed in a detector: for the near and the far one.
BRIO_EXPORT bool IsHardwareRecorded(briodaq::cnv::DetId detector);

}  // namespace brio::arrays
