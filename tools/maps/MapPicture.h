#pragma once

#include <string>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapLayout.h"

namespace brio::tools {

/// What stands around the cells of a map, whatever they are: heading, panels with axes, legend.
/// \param cells  elements, in points from the grid's upper left corner
/// \return an SVG document
std::string PictureOf(const BoardMap& map, const MapStyle& style, const MapLayout& layout,
                      const ColorScale& scale, const std::string& cells);

}  // namespace brio::tools
