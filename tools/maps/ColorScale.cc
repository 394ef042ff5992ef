#include "tools/maps/ColorScale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace brio::tools {
namespace {

using RGB = std::array<double, 3>;

constexpr std::array<RGB, 6> kAnchors{
    {{18, 28, 88}, {38, 79, 132}, {64, 124, 142}, {116, 163, 131}, {186, 198, 112}, {250, 232, 140}}};

}  // namespace

double ColorScale::Position(double value) const {
  return high > low ? std::clamp((value - low) / (high - low), 0.0, 1.0) : 0.5;
}

std::string ColorScale::Color(double value) const {
  const double along = Position(value) * (kAnchors.size() - 1);
  const auto index = std::min(static_cast<std::size_t>(along), kAnchors.size() - 2);
  const double part = along - static_cast<double>(index);
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text = "#";
  for (std::size_t i = 0; i < kAnchors[index].size(); ++i) {
    const double level = kAnchors[index][i] * (1 - part) + kAnchors[index + 1][i] * part;
    const auto rounded = static_cast<unsigned int>(std::lround(level));
    text += kDigits[rounded / 16];
    text += kDigits[rounded % 16];
  }
  return text;
}

ColorScale ScaleOf(const BoardMap& map) {
  std::vector<double> values;
  for (const auto& board : map.boards) {
    if (board.IsGood()) { values.push_back(board.value); }
  }
  if (values.empty()) { return {}; }
  std::sort(values.begin(), values.end());
  const double lower = values[values.size() / 4];
  const double upper = values[values.size() - 1 - values.size() / 4];
  constexpr double kReach = 1.5;
  const double reach = kReach * (upper - lower);
  return {std::max(values.front(), lower - reach), std::min(values.back(), upper + reach)};
}

}  // namespace brio::tools
