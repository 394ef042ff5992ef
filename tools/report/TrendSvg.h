#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brio::tools {

/// A value of one run in a trend.
struct TrendPoint {
  double run = 0;
  std::optional<double> time;  ///< of its start, in seconds; nothing when it is not known
  double value = 0;
  std::string file;  ///< its page
  std::string text;  ///< what it says when it is pointed at
};

/// A picture of a value over the numbers of runs, each point a link. A point also has its place over time
/// (data-time, 0 to 1000 along the axis), to which the page's script can move it.
std::string TrendSvg(const std::string& title, const std::vector<TrendPoint>& points);

}  // namespace brio::tools
