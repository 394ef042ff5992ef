#include "tools/maps/Palette.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace brio::tools {
namespace {

/// Colours at even distances; between them they are mixed.
const std::vector<RGB>& AnchorsOf(Palette palette) {
  static const std::vector<RGB> kCividis{{0, 34, 78},     {18, 53, 112},   {59, 73, 108},   {87, 93, 109},
                                         {112, 113, 115}, {138, 134, 120}, {165, 156, 116}, {195, 179, 105},
                                         {225, 204, 85},  {254, 232, 56}};
  static const std::vector<RGB> kViridis{{68, 1, 84},    {72, 36, 117},  {65, 68, 135},  {53, 95, 141},
                                         {42, 120, 142}, {33, 145, 140}, {34, 168, 132}, {68, 191, 112},
                                         {122, 209, 81}, {189, 223, 38}, {253, 231, 37}};
  static const std::vector<RGB> kBlueOrange{{5, 48, 97},     {33, 102, 172},  {103, 169, 207},
                                            {209, 229, 240}, {247, 247, 247}, {254, 224, 182},
                                            {241, 163, 64},  {179, 88, 6},    {110, 50, 5}};
  switch (palette) {
    case Palette::Viridis: return kViridis;
    case Palette::BlueOrange: return kBlueOrange;
    default: return kCividis;
  }
}

}  // namespace

const std::vector<std::string>& PaletteNames() {
  static const std::vector<std::string> kNames{"cividis", "viridis", "blue-orange"};
  return kNames;
}

Palette PaletteNamed(const std::string& name) {
  const auto& names = PaletteNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) { throw std::out_of_range("there is no palette \"" + name + "\""); }
  return static_cast<Palette>(found - names.begin());
}

std::string RGB::Hex() const {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text = "#";
  for (const int level : {red, green, blue}) {
    text += kDigits[level / 16];
    text += kDigits[level % 16];
  }
  return text;
}

RGB ColorOf(Palette palette, double part) {
  const auto& anchors = AnchorsOf(palette);
  const double along = std::clamp(part, 0.0, 1.0) * static_cast<double>(anchors.size() - 1);
  const auto index = std::min(static_cast<std::size_t>(along), anchors.size() - 2);
  const double rest = along - static_cast<double>(index);
  const auto mixed = [&](int RGB::*level) {
    return static_cast<int>(
        std::lround(anchors[index].*level * (1 - rest) + anchors[index + 1].*level * rest));
  };
  return {mixed(&RGB::red), mixed(&RGB::green), mixed(&RGB::blue)};
}

}  // namespace brio::tools
