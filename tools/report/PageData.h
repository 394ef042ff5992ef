#pragma once

#include <vector>

#include "tools/maps/MapLayout.h"
#include "tools/report/RunReport.h"
#include "tools/shared/Format.h"

namespace brio::tools {

/// What the script of a page draws from: the detector's places, the quantities of its boards and the views.
/// Long lists of whole numbers are written as [first, step, count, first, step, count, …]; a quantity's
/// values are those of the boards whose status has one, in the order of the boards.
Json PageData(const RunReport& report, const std::vector<MapLayout>& layouts);

/// A list as the data have it.
Json StepsOf(const std::vector<int>& numbers);

}  // namespace brio::tools
