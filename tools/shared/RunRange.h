#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arrays/Runs.h"

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

/// Numbers outside 10000 to 999999 are simulated runs, of which no table knows.
bool IsSimulated(int run);
/// A closed range that has simulated runs only.
bool IsSimulated(const RunRange& range);

/// The lines that the runs table of a detector has for a run or a range, in ascending order, each run once.
/// \param selection  what else is asked for; its numbers are set here
/// \throws std::runtime_error with the reason when the table cannot be read
std::vector<arrays::RunLine> RunsOf(const std::string& detector, const RunRange& range,
                                    arrays::RunSelection selection = {});

/// The numbers of a range, between 10000 and 999999, for which there is no line: "13041-13050, 13060". Of
/// many gaps the first few, and how many there are. Empty without any, and for an open range.
std::string MissingFrom(const RunRange& range, const std::vector<arrays::RunLine>& lines);

/// The number of the last run in the runs table of a detector. \throws std::runtime_error with the reason
/// when the table cannot be read or has no run
int LastRun(const std::string& detector);

}  // namespace brio::tools
