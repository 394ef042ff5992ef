#pragma once

#include <string>
#include <vector>

#include "tools/maps/BoardMap.h"

namespace brio::tools {

struct HistogramBin {
  double from = 0;
  double to = 0;
  std::size_t count = 0;
};

/// How often the good values of a map occur. The bins span the map's scale; what lies beyond it is counted
/// apart.
struct Histogram {
  std::vector<HistogramBin> bins;
  std::size_t count = 0;
  std::size_t below = 0;
  std::size_t above = 0;
  double least = 0;
  double most = 0;
  double mean = 0;
  double spread = 0;  ///< standard deviation
};

/// Bins of whole numbers have whole ends, both included.
Histogram HistogramOf(const BoardMap& map);

/// A picture of it, for a page: its colours are the page's (classes "bar", "beyond", "axis").
std::string SvgForm(const Histogram& histogram, const BoardMap& map);

}  // namespace brio::tools
