#include "tools/ColorScale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

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
  std::array<char, 8> text{};
  RGB color{};
  for (std::size_t i = 0; i < color.size(); ++i) {
    color[i] = std::round(kAnchors[index][i] * (1 - part) + kAnchors[index + 1][i] * part);
  }
  std::snprintf(text.data(), text.size(), "#%02x%02x%02x", static_cast<unsigned int>(color[0]) & 0xFFU,
                static_cast<unsigned int>(color[1]) & 0xFFU, static_cast<unsigned int>(color[2]) & 0xFFU);
  return text.data();
}

ColorScale ScaleOf(const BoardMap& map) {
  std::vector<double> values;
  for (const auto& board : map.boards) {
    if (board.state == BoardState::Good) { values.push_back(board.value); }
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
