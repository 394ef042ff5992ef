#pragma once

#include <string>
#include <vector>

#include "tools/maps/BoardMap.h"
#include "tools/maps/ColorScale.h"

namespace brio::tools {

/// Some values in short.
struct MapStatistics {
  std::size_t count = 0;
  double mean = 0;
  double spread = 0;  ///< standard deviation
  double least = 0;
  double most = 0;
};

MapStatistics StatisticsOf(const std::vector<double>& values);
/// Of a map's values that are good.
MapStatistics StatisticsOf(const BoardMap& map);

/// Those of a map's boards whose values lie beyond a scale, in the order of the readout.
struct BoardsBeyond {
  std::vector<const MapBoard*> below;
  std::vector<const MapBoard*> above;
};
BoardsBeyond BoardsBeyondOf(const BoardMap& map, const ColorScale& scale);

/// Names boards, or channels, and their values, those of a DCM in one line when they are many:
/// "8/3: 62 boards, 1.02 to 3.98". What is beyond `atMost` lines is counted in the last one.
std::vector<std::string> LinesOf(const BoardMap& map, const std::vector<const MapBoard*>& boards,
                                 std::size_t atMost);

/// "10,475 boards: mean -14.85, spread 0.291 (standard deviation), from -15.49 to 3.98 °C"; of yes and no how
/// many there are.
std::string SummaryOf(const BoardMap& map);

}  // namespace brio::tools
