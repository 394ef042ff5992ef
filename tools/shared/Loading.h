#pragma once

#include <functional>
#include <string>

#include "RunHistory/RunHistory.h"

namespace brio::tools {

/// How an attempt to load something ended.
struct Outcome {
  bool ok = false;
  /// Why it failed. When it did not: what a database complained of meanwhile, for some loaders go on without
  /// what they could not read; empty as a rule.
  std::string reason;
  /// The reason is a database's complaint.
  bool databaseComplained = false;

  /// Loaded, and nothing complained.
  bool IsClean() const { return ok && reason.empty(); }
};

/// Runs a loader of the library. An exception counts as a failure.
Outcome Attempt(const std::function<bool()>& load);

/// The library's loaders of the run record and, after it, of the hardware.
/// \throws std::runtime_error that names the table, for a DCM whose name is missing or too short to cut
bool LoadRunRecord(brio::dbi::RunHistory& history);
bool LoadHardware(brio::dbi::RunHistory& history);

/// How far a run is loaded.
enum class Depth { Run, Hardware, Configuration, Settings };

/// What was loaded of a run. What was not asked for is not ok and has no reason.
struct LoadedParts {
  Outcome run;
  /// The runs table has no such run.
  bool isMissing = false;
  Outcome hardware;
  Outcome configuration;
  Outcome settings;

  /// The deepest part that was asked for, or the first that failed on the way there.
  const Outcome& UpTo(Depth depth) const;
};

/// Loads a run up to some depth, and tells of each part how that went. Parts whose prerequisites could not be
/// loaded are not tried, and carry the same reason.
LoadedParts LoadParts(brio::dbi::RunHistory& history, Depth depth);

/// Whether it is recorded what is installed in a detector: for the near and the far one.
bool IsHardwareRecorded(briodaq::cnv::DetId detector);

/// "run 13000 of Birch".
std::string NameOf(const brio::dbi::RunHistory& history);

/// Tells standard error what could not be had: "runhistory: run 13000 of Birch: <what>".
void SayUnavailable(const brio::dbi::RunHistory& history, const std::string& what);

}  // namespace brio::tools
