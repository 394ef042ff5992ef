#pragma once

#include <iosfwd>
#include <string>

#include "arrays/Records.h"
#include "tools/history/History.h"

namespace brio::tools {

/// A table with a line for each run, changes marked with a star.
std::string TextForm(const History& history);

/// run, start, value, value_status, measured, boards, change.
void WriteRecords(std::ostream& stream, arrays::Form form, const History& history);

/// A picture: a point for each run, changes and runs without a value marked.
std::string SvgForm(const History& history);

}  // namespace brio::tools
