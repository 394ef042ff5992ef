#pragma once

#include <string>
#include <vector>

namespace brio::tools {

/// Colours for numbers. The first two rise evenly in lightness, so that they read the same in print and for
/// those who do not tell red from green; the third has its light middle at zero, for differences.
enum class Palette { Cividis, Viridis, BlueOrange };

/// "cividis", "viridis", "blue-orange".
const std::vector<std::string>& PaletteNames();
/// \throws std::out_of_range for a name that no palette has
Palette PaletteNamed(const std::string& name);

struct RGB {
  int red = 0;
  int green = 0;
  int blue = 0;

  /// As "#rrggbb".
  std::string Hex() const;
};

/// \param part  0 to 1; beyond that the ends' colours
RGB ColorOf(Palette palette, double part);

}  // namespace brio::tools
