#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shared/Loading.h"

namespace brio::tools {

/// One row of the subruns table; a time that is NULL is empty.
struct SubrunTimes {
  int number = 0;
  std::string start;
  std::string stop;
};

/// What the run tables hold of a run beside what a run record loads. Nothing stands for NULL.
struct RunNotes {
  Outcome run;  ///< of the row in daq.runs
  std::optional<long long> events;
  std::optional<std::string> shifter;
  std::optional<std::string> beginComment;
  std::optional<std::string> endComment;
  Outcome subruns;  ///< of the rows in daq.subruns
  std::vector<SubrunTimes> times;
};

/// Reads them, in a statement for each table. Simulated runs have none.
RunNotes LoadRunNotes(int run, const std::string& detector);

/// Seconds from a subrun's start to its stop; nothing when one is not recorded or no time, or when it stops
/// before it starts.
std::optional<long> DurationOf(const SubrunTimes& subrun);

}  // namespace brio::tools
