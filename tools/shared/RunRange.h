#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "RunHistory/RunHistory.h"

namespace brio::tools {

/// The runs of `--run`: one ("13000"), several ("13000-13010", both ends included) or all from one on
/// ("13000-").
struct RunRange {
  int first = 0;
  int last = 0;
  bool isOpen = false;
  bool isRange = false;
};

/// Nothing for a text that is no run and no range of runs.
std::optional<RunRange> ParseRunRange(const std::string& text);

/// What LastRun throws for a runs table that has no run.
struct NoRuns : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The number of the last run in the runs table of a detector. \throws std::runtime_error with the reason
/// when the table cannot be read, and NoRuns when it has no run
int LastRun(const std::string& detector);

}  // namespace brio::tools
