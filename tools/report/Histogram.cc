#include "tools/report/Histogram.h"

#include <algorithm>
#include <cmath>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"
#include "tools/maps/MapStatistics.h"
#include "tools/shared/Format.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

constexpr int kBins = 24;
// Lengths are in the picture's own unit.
constexpr double kWidth = 420;
constexpr double kHeight = 190;
constexpr double kTop = 24;
constexpr double kBottom = 150;
constexpr double kLeft = 46;    // where the bins begin; at its left is what is below them
constexpr double kRight = 374;  // where they end
constexpr double kBeyondWidth = 14;
constexpr double kSmall = 11;

bool IsWhole(const BoardMap& map) { return map.quantity.quantity == Quantity::Voltage; }

/// How wide bins are, and where the first begins.
struct Binning {
  double from = 0;
  double width = 1;
  int count = 1;
};

Binning BinningOf(const BoardMap& map, const ColorScale& scale) {
  const double range = scale.high - scale.low;
  if (IsWhole(map)) {
    const double width = std::max(1.0, std::ceil((range + 1) / kBins));
    return {scale.low - 0.5, width, static_cast<int>(std::ceil((range + 1) / width))};
  }
  if (range <= 0) { return {scale.low - 0.5, 1, 1}; }
  return {scale.low, range / kBins, kBins};
}

std::string Bar(double x, double width, std::size_t count, std::size_t most, const std::string& kind,
                const std::string& title) {
  const double height = (kBottom - kTop) * static_cast<double>(count) / static_cast<double>(most);
  return svg::Rectangle(x, kBottom - height, width, height, "class=\"" + kind + "\"",
                        "<title>" + svg::Escaped(title) + "</title>");
}

std::string Boards(std::size_t count) { return Counted(count, "board"); }

}  // namespace

Histogram HistogramOf(const BoardMap& map) {
  const ColorScale scale = ScaleOf(map);
  const Binning binning = BinningOf(map, scale);
  const MapStatistics statistics = StatisticsOf(map);
  Histogram histogram;
  histogram.count = statistics.count;
  histogram.least = statistics.least;
  histogram.most = statistics.most;
  histogram.mean = statistics.mean;
  histogram.spread = statistics.spread;
  for (int bin = 0; bin < binning.count; ++bin) {
    histogram.bins.push_back(
        {binning.from + bin * binning.width, binning.from + (bin + 1) * binning.width, 0});
  }
  for (const auto& board : map.boards) {
    if (!board.IsGood()) { continue; }
    if (board.value < scale.low) {
      ++histogram.below;
    } else if (board.value > scale.high) {
      ++histogram.above;
    } else {
      const auto bin = static_cast<int>((board.value - binning.from) / binning.width);
      ++histogram.bins.at(static_cast<std::size_t>(std::clamp(bin, 0, binning.count - 1))).count;
    }
  }
  if (IsWhole(map)) {
    for (auto& bin : histogram.bins) {
      bin.from = std::ceil(bin.from);
      bin.to = std::floor(bin.to);
    }
  }
  return histogram;
}

std::string SvgForm(const Histogram& histogram, const BoardMap& map) {
  auto most = std::max<std::size_t>({1, histogram.below, histogram.above});
  for (const auto& bin : histogram.bins) {
    most = std::max(most, bin.count);
  }
  const auto text = [&](double value) { return ValueText(map, value); };
  const std::string unit = UnitSuffix(map);
  std::string svg =
      "<svg class=\"chart\" viewBox=\"0 0 " + svg::Number(kWidth) + ' ' + svg::Number(kHeight) +
      "\" role=\"img\" aria-label=\"" +
      svg::Escaped("Histogram of the " + std::string(map.quantity.name) + " of " + Boards(histogram.count) +
                   ": mean " + text(histogram.mean) + unit + ", from " + text(histogram.least) + " to " +
                   text(histogram.most) + unit + ", " + Boards(histogram.below) + " below the bins and " +
                   Boards(histogram.above) + " above") +
      "\">\n";
  const double step = (kRight - kLeft) / static_cast<double>(histogram.bins.size());
  for (std::size_t i = 0; i < histogram.bins.size(); ++i) {
    const auto& bin = histogram.bins[i];
    if (bin.count == 0) { continue; }
    svg += Bar(kLeft + static_cast<double>(i) * step, step - 1, bin.count, most, "bar",
               text(bin.from) + " to " + text(bin.to) + unit + ": " + Boards(bin.count));
  }
  const auto beyond = [&](double x, std::size_t count, const std::string& title) {
    if (count == 0) { return; }
    svg += Bar(x, kBeyondWidth, count, most, "beyond", title);
    svg += svg::Text(x + kBeyondWidth / 2,
                     kBottom - 4 - (kBottom - kTop) * static_cast<double>(count) / static_cast<double>(most),
                     kSmall, "middle", std::to_string(count));
  };
  beyond(kLeft - kBeyondWidth - 10, histogram.below,
         "below " + text(histogram.bins.front().from) + unit + ": " + Boards(histogram.below));
  beyond(kRight + 10, histogram.above,
         "above " + text(histogram.bins.back().to) + unit + ": " + Boards(histogram.above));
  svg += "<path class=\"axis\" d=\"M" + svg::Number(kLeft) + ' ' + svg::Number(kBottom) + "H" +
         svg::Number(kRight) + "\"/>\n";
  const double low = histogram.bins.front().from;
  const double high = histogram.bins.back().to;
  for (const double part : {0.0, 0.5, 1.0}) {
    svg += svg::Text(kLeft + part * (kRight - kLeft), kBottom + 15, kSmall, "middle",
                     text(low + part * (high - low)));
  }
  svg += svg::Text((kLeft + kRight) / 2, kBottom + 32, kSmall, "middle", TitledUnit(map));
  svg += svg::Text(kLeft, kTop - 10, kSmall, "start", "most in a bin: " + std::to_string(most));
  return svg + "</svg>\n";
}

}  // namespace brio::tools
