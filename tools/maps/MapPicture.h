#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapLayout.h"
#include "tools/maps/MapLegend.h"

namespace brio::tools {

/// What stands around the cells of a map, whatever they are: heading, panels with axes, legend.
struct MapPicture {
  std::string title;
  std::vector<std::string> lines;  ///< below the title
  std::string cells;               ///< elements, in points from the grid's upper left corner
  MapLegend legend;
  /// What is said of a diblock at its heading.
  std::function<std::string(int diblock)> noteOf;

  /// An SVG document.
  std::string Draw(const MapLayout& layout, const MapStyle& style) const;
};

}  // namespace brio::tools
