#include "tools/maps/ColorScale.h"

#include <algorithm>
#include <cmath>

namespace brio::tools {

double ColorScale::Position(double value) const {
  return high > low ? std::clamp((value - low) / (high - low), 0.0, 1.0) : 0.5;
}

std::string ColorScale::Color(double value) const {
  // An odd number of steps, so that a difference of zero has the colour of the middle.
  constexpr int kSteps = 62;
  return ColorOf(palette, std::round(Position(value) * kSteps) / kSteps).Hex();
}

ColorScale ScaleOf(std::vector<double> values, bool isDifference, const ScaleChoice& choice) {
  ColorScale scale;
  scale.palette = choice.palette.value_or(isDifference ? Palette::BlueOrange : Palette::Cividis);
  if (!values.empty()) {
    std::sort(values.begin(), values.end());
    const double lower = values[values.size() / 4];
    const double upper = values[values.size() - 1 - values.size() / 4];
    constexpr double kReach = 1.5;
    const double reach = kReach * (upper - lower);
    scale.low = std::max(values.front(), lower - reach);
    scale.high = std::min(values.back(), upper + reach);
  }
  if (isDifference) {
    // Where most values are alike the middle half has no width; what differs is the picture then.
    if (!values.empty() && scale.high <= scale.low) {
      scale.low = values.front();
      scale.high = values.back();
    }
    const double most = std::max(std::abs(scale.low), std::abs(scale.high));
    scale.low = -most;
    scale.high = most;
  }
  if (choice.min) { scale.low = *choice.min; }
  if (choice.max) { scale.high = *choice.max; }
  if (isDifference && choice.min && !choice.max) { scale.high = -*choice.min; }
  if (isDifference && choice.max && !choice.min) { scale.low = -*choice.max; }
  // A chosen end beyond all values.
  if (choice.min && !choice.max) { scale.high = std::max(scale.high, scale.low); }
  if (choice.max && !choice.min) { scale.low = std::min(scale.low, scale.high); }
  return scale;
}

ColorScale ScaleOf(const BoardMap& map, const ScaleChoice& choice) {
  std::vector<double> values;
  for (const auto& board : map.boards) {
    if (board.IsGood()) { values.push_back(board.value); }
  }
  return ScaleOf(std::move(values), map.minus.has_value(), choice);
}

}  // namespace brio::tools
