#pragma once

#include <string>

#include "tools/maps/BoardMap.h"

namespace brio::tools {

/// How values become colours: from dark blue to light yellow, evenly in lightness, so that it reads the same
/// in print and for those who do not tell red from green. Values outside the ends take the ends' colours.
struct ColorScale {
  double low = 0;
  double high = 1;

  /// Where a value lies, 0 to 1.
  double Position(double value) const;
  bool Contains(double value) const { return value >= low && value <= high; }
  /// The colour as "#rrggbb".
  std::string Color(double value) const;
};

/// The scale of a map: as far as the values go, but at most 1.5 times the width of their middle half beyond
/// that half, so that boards gone wrong stand out and do not take the contrast from all others.
ColorScale ScaleOf(const BoardMap& map);

}  // namespace brio::tools
