#pragma once

#include "tools/report/RunReport.h"
#include "tools/shared/Format.h"

/// The tables of a page, as its template takes them.
namespace brio::tools {

/// Each quantity that has numbers, with its histogram as a picture and as bins.
Json HistogramTables(const RunReport& report);

/// The subruns that the run tables or the data-quality records name, each with what either has.
Json SubrunTable(const ScreenedRun& run);

/// A row for each DCM: how many of its boards are there, and the means of the maps of numbers; and the
/// headings.
Json DCMTable(const RunReport& report);
Json DCMHeadings(const RunReport& report);

}  // namespace brio::tools
