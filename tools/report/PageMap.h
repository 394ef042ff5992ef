#pragma once

#include <string>
#include <vector>

#include "tools/maps/BoardMap.h"
#include "tools/maps/MapLayout.h"
#include "tools/report/Unusual.h"

/// The map of a page, of which the script draws the other quantities and views in the same way: all boards of
/// a colour are one path, so that it stays small.
namespace brio::tools::pagemap {

/// How many colours the values of a map have.
constexpr int kColors = 32;
/// Room around the cells, in points.
constexpr double kLeft = 44;
constexpr double kTop = 22;
constexpr double kRight = 12;
constexpr double kBottom = 28;

/// The colours, from that of the lowest values on.
std::vector<std::string> Colors();
/// The name of the pattern for boards without a value, "not-installed", and all the patterns.
std::string PatternOf(arrays::Status status);
std::string Patterns();

/// What stands in an element `svg`, and how large that is.
struct Picture {
  double width = 0;
  double height = 0;
  std::string elements;
};

/// Axes, boards and the elements to which links lead.
/// \param map     null for a view that the script fills
/// \param boards  of the detector
/// \param places  to which links lead
Picture Draw(const BoardMap* map, const MapLayout& layout, const std::vector<arrays::BoardPlace>& boards,
             const std::vector<UnusualPlace>& places);

/// The scale of a map of numbers, with the values' own extremes at its ends.
std::string ScaleSvg(const BoardMap& map);

}  // namespace brio::tools::pagemap
