#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/maps/BoardMap.h"
#include "tools/maps/Palette.h"

namespace brio::tools {

/// How values become colours. Values outside the ends have a mark of their own.
struct ColorScale {
  double low = 0;
  double high = 1;
  Palette palette = Palette::Cividis;

  /// Where a value lies, 0 to 1.
  double Position(double value) const;
  bool Contains(double value) const { return value >= low && value <= high; }
  /// As "#rrggbb", one of 64.
  std::string Color(double value) const;
};

/// What the caller chooses of a scale; the rest comes from the values.
struct ScaleChoice {
  std::optional<double> min;
  std::optional<double> max;
  std::optional<Palette> palette;
};

/// The scale of some values: as far as they go, but at most 1.5 times the width of their middle half beyond
/// that half, so that boards gone wrong stand out and do not take the contrast from all others.
/// \param isDifference  zero is in the middle, and the palette is blue-orange unless another is chosen
ColorScale ScaleOf(std::vector<double> values, bool isDifference, const ScaleChoice& choice = {});
/// Of a map's values that are good.
ColorScale ScaleOf(const BoardMap& map, const ScaleChoice& choice = {});

}  // namespace brio::tools
