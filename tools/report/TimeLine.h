#pragma once

#include <string>
#include <vector>

#include "tools/verbs/RunNotes.h"

namespace brio::tools {

/// A picture of the subruns from the first start to the last stop, those that the data-quality group flagged
/// marked; empty when no subrun has a start and a stop.
std::string TimeLineSvg(const RunNotes& notes, const std::vector<brio::dbi::DQSubrunInfo>& quality);

}  // namespace brio::tools
