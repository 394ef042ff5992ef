#pragma once

#include <string>
#include <vector>

#include "arrays/Layout.h"

namespace brio::tools {

/// How a map is laid out: as boards are read out (diblock, DCM, port), or where they are in the detector:
/// plane by cell, with a view each for the even (X) and the odd planes (Y), whose cells run across one
/// another.
enum class View { Readout, Geometry };

/// "readout", "geometry".
const std::vector<std::string>& ViewNames();
/// \throws std::out_of_range for a name that no view has
View ViewNamed(const std::string& name);

/// The view that a plane belongs to, 'X' or 'Y'.
char ViewOfPlane(int plane);

/// A mark on an axis.
struct Tick {
  double at = 0;  ///< in cells of the picture
  std::string label;
};

/// A part of a picture with axes of its own: a diblock, or a view.
struct MapPanel {
  std::string heading;
  int diblock = 0;  ///< 0 for a view
  // In cells of the picture.
  int column = 0;
  int row = 0;
  int columns = 0;
  int rows = 0;
  std::string xTitle;
  std::string yTitle;
  std::vector<Tick> xTicks;       ///< below it
  std::vector<Tick> yTicks;       ///< at its left
  std::vector<Tick> groups;       ///< above it: the diblocks of a view
  std::vector<double> xDividers;  ///< lines between these groups
};

/// A cell of the grid that a picture is made of.
struct MapCell {
  int column = 0;
  int row = 0;
};

/// Where each board stands in a picture: cells of one size on one grid, so that a place is found by dividing.
struct MapLayout {
  View view = View::Readout;
  double cellWidth = 0;   ///< points
  double cellHeight = 0;  ///< points
  int columns = 0;        ///< of the whole grid, with the room between panels
  int rows = 0;
  std::vector<MapPanel> panels;
  /// Element i is of the detector's board i (arrays::BoardsOf).
  std::vector<MapCell> boards;

  double Width() const { return columns * cellWidth; }
  double Height() const { return rows * cellHeight; }
};

/// \param stretch  how much higher than usual the lines of the geometry are
MapLayout LayoutOf(const std::vector<arrays::BoardPlace>& places, View view, double stretch = 1);

}  // namespace brio::tools
