#include "tools/report/TrendSvg.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "tools/shared/Format.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

// Lengths are in the picture's own unit.
constexpr double kLeft = 80;
constexpr double kRight = 408;
constexpr double kTop = 14;
constexpr double kBottom = 130;
constexpr double kSmall = 11;

struct Range {
  double low = 0;
  double high = 0;
  bool isSet = false;

  void Add(double value) {
    low = isSet ? std::min(low, value) : value;
    high = isSet ? std::max(high, value) : value;
    isSet = true;
  }
  double Position(double value) const { return high > low ? (value - low) / (high - low) : 0.5; }
};

std::string Day(double seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 16> text{};
  const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
  return {text.data(), length};
}

std::string Ends(const std::string& kind, const std::string& first, const std::string& last) {
  return "<g class=\"" + kind + "\">" + svg::Text(kLeft, kBottom + 15, kSmall, "start", first) +
         svg::Text(kRight, kBottom + 15, kSmall, "end", last) + "</g>\n";
}

}  // namespace

std::string TrendSvg(const std::string& title, const std::vector<TrendPoint>& points) {
  Range runs;
  Range times;
  Range values;
  for (const auto& point : points) {
    runs.Add(point.run);
    values.Add(point.value);
    if (point.time) { times.Add(*point.time); }
  }
  std::string svg = "<svg class=\"chart trend\" viewBox=\"0 0 420 152\" role=\"group\" aria-label=\"" +
                    svg::Escaped(title + " of " + Counted(points.size(), "run") + ", from " +
                                 Rounded(values.low) + " to " + Rounded(values.high)) +
                    "\">\n<path class=\"axis\" d=\"M" + svg::Number(kLeft) + ' ' + svg::Number(kTop) + "V" +
                    svg::Number(kBottom) + "H" + svg::Number(kRight) + "\"/>\n";
  svg += svg::Text(kLeft - 5, kBottom + 2, kSmall, "end", Rounded(values.low));
  if (values.high > values.low) {
    svg += svg::Text(kLeft - 5, kTop + 6, kSmall, "end", Rounded(values.high));
  }
  for (const auto& point : points) {
    constexpr double kMargin = 6;
    const auto x = [&](double part) { return kLeft + kMargin + part * (kRight - kLeft - 2 * kMargin); };
    const double y = kBottom - kMargin - values.Position(point.value) * (kBottom - kTop - 2 * kMargin);
    const std::string runX = svg::Number(x(runs.Position(point.run)));
    const std::string timeX = point.time ? svg::Number(x(times.Position(*point.time))) : "";
    svg += "<a href=\"" + svg::Escaped(point.file) + "\"><circle cx=\"" + runX + "\" cy=\"" + svg::Number(y) +
           "\" r=\"3.2\" data-run=\"" + runX + "\" data-time=\"" + timeX + "\"><title>" +
           svg::Escaped(point.text) + "</title></circle></a>\n";
  }
  svg += Ends("by-run", "run " + std::to_string(static_cast<long>(runs.low)),
              std::to_string(static_cast<long>(runs.high)));
  svg += times.isSet ? Ends("by-time", Day(times.low), Day(times.high))
                     : Ends("by-time", "no start is recorded", "");
  return svg + "</svg>\n";
}

}  // namespace brio::tools
