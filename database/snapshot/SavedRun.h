#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "database/Session.h"

namespace brio::dbi::snapshot {

/// How much of a run a snapshot holds.
enum class RunState {
  Whole = 0,    ///< every answer that any question about it needs
  Missing = 1,  ///< likewise, and the answers say that there is no such run
  Part = 2      ///< what some job asked
};

/// A database that a run was taken from.
struct RunSource {
  DatabaseKind kind = DatabaseKind::Runs;
  SessionSource source;
};

/// What a snapshot says of one run.
struct SavedRun {
  std::string detector;
  int run = 0;
  RunState state = RunState::Whole;
  std::string taken;    ///< when, UTC, as "2024-01-31 12:00:00"
  std::string library;  ///< the version of this library that did it
  std::vector<RunSource> sources;
};

/// The same with what it takes up.
struct RunContents : SavedRun {
  std::int64_t answers = 0;
  std::int64_t bytes = 0;     ///< compressed, of all its answers
  std::int64_t ownBytes = 0;  ///< the part of these that no other run uses
};

}  // namespace brio::dbi::snapshot
