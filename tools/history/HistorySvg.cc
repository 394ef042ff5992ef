#include <algorithm>
#include <cmath>

#include "tools/history/HistoryForms.h"
#include "tools/shared/Format.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using svg::Number;
using svg::Text;

// Lengths are in the picture's own unit, a point at its natural size.
constexpr double kWidth = 920;
constexpr double kHeight = 400;
constexpr double kLeft = 76;
constexpr double kRight = 24;
constexpr double kTop = 56;
constexpr double kBottom = 92;
constexpr double kSmall = 10;
constexpr int kTicks = 5;
constexpr std::size_t kMostLabels = 12;
constexpr const char* kColor = "#2a5a8c";
constexpr const char* kChangeColor = "#c8360a";

/// Round numbers that span the values.
struct Scale {
  double first = 0;
  double step = 1;
  int steps = 1;

  explicit Scale(const std::vector<HistoryPoint>& points) {
    double least = HUGE_VAL;
    double most = -HUGE_VAL;
    for (const auto& point : points) {
      if (!point.value) { continue; }
      least = std::min(least, *point.value);
      most = std::max(most, *point.value);
    }
    if (least > most) { return; }
    const double room = std::max({most - least, 1e-6 * std::abs(most), 1e-9});
    const double wanted = room / kTicks;
    const double power = std::pow(10, std::floor(std::log10(wanted)));
    step = power;
    for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
      step = factor * power;
      if (step >= wanted) { break; }
    }
    first = std::floor(least / step) * step;
    steps = std::max(1, static_cast<int>(std::ceil((most - first) / step - 1e-9)));
  }
  double At(int tick) const { return first + tick * step; }
  double Y(double value) const {
    const double height = kHeight - kTop - kBottom;
    return kTop + height * (1 - (value - first) / (steps * step));
  }
};

double X(std::size_t index, std::size_t count) {
  const double width = kWidth - kLeft - kRight;
  return kLeft +
         width * (static_cast<double>(index) + 0.5) / static_cast<double>(std::max<std::size_t>(count, 1));
}

std::string Line(double x1, double y1, double x2, double y2, const char* color) {
  return "<line x1=\"" + Number(x1) + "\" y1=\"" + Number(y1) + "\" x2=\"" + Number(x2) + "\" y2=\"" +
         Number(y2) + "\" stroke=\"" + color + "\"/>\n";
}

std::string Axes(const History& history, const Scale& scale) {
  std::string axes;
  for (int tick = 0; tick <= scale.steps; ++tick) {
    const double y = scale.Y(scale.At(tick));
    axes += Line(kLeft, y, kWidth - kRight, y, "#d8d8d8");
    axes += Text(kLeft - 8, y + 3.5, kSmall, "end", Rounded(scale.At(tick)));
  }
  const std::size_t count = history.points.size();
  const std::size_t every = std::max<std::size_t>(1, (count + kMostLabels - 1) / kMostLabels);
  const double bottom = kHeight - kBottom;
  for (std::size_t i = 0; i < count; i += every) {
    const auto& point = history.points[i];
    axes += Line(X(i, count), bottom, X(i, count), bottom + 4, "#000000");
    axes += Text(X(i, count), bottom + 30, kSmall, "middle", std::to_string(point.run));
    axes += Text(X(i, count), bottom + 43, kSmall - 2, "middle", point.start.substr(0, 10));
  }
  axes += Line(kLeft, bottom, kWidth - kRight, bottom, "#000000");
  return axes + Line(kLeft, kTop, kLeft, bottom, "#000000");
}

/// A mark that tells what it stands for when it is pointed at.
std::string Mark(const char* kind, const std::string& path, const std::string& attributes,
                 const std::string& title) {
  return std::string("<path class=\"") + kind + "\" d=\"" + path + "\" " + attributes + "><title>" +
         svg::Escaped(title) + "</title></path>\n";
}

std::string At(double x, double y) { return Number(x) + ' ' + Number(y); }

std::string ValueMark(double x, double y, const HistoryPoint& point) {
  const std::string title = "run " + std::to_string(point.run) + ": " + Rounded(*point.value) +
                            (point.change ? ", changed by " + Rounded(*point.change) : "");
  const double r = point.change ? 5 : 3;
  return Mark(point.change ? "change" : "value",
              "M" + At(x - r, y) + "L" + At(x, y - r) + "L" + At(x + r, y) + "L" + At(x, y + r) + "Z",
              std::string("fill=\"") + (point.change ? kChangeColor : kColor) + '"', title);
}

std::string MissingMark(double x, double y, const HistoryPoint& point) {
  return Mark(
      "missing",
      "M" + At(x - 3, y - 3) + "L" + At(x + 3, y + 3) + "M" + At(x - 3, y + 3) + "L" + At(x + 3, y - 3),
      "stroke=\"#808080\" fill=\"none\"", "run " + std::to_string(point.run) + ": " + point.status);
}

std::string Points(const History& history, const Scale& scale) {
  std::string lines;
  std::string marks;
  const std::size_t count = history.points.size();
  const double missing = kHeight - kBottom + 12;
  for (std::size_t i = 0; i < count; ++i) {
    const auto& point = history.points[i];
    const double x = X(i, count);
    if (!point.value) {
      marks += MissingMark(x, missing, point);
      continue;
    }
    const double y = scale.Y(*point.value);
    if (i > 0 && history.points[i - 1].value) {
      lines += Line(X(i - 1, count), scale.Y(*history.points[i - 1].value), x, y, kColor);
    }
    marks += ValueMark(x, y, point);
  }
  return lines + marks;
}

std::string Legend() {
  const double y = kHeight - 16;
  HistoryPoint known;
  known.value = 0;
  HistoryPoint changed = known;
  changed.change = 0;
  const auto withoutTitle = [](std::string mark) {
    mark.erase(mark.find("<title>"), mark.find("</title>") + 8 - mark.find("<title>"));
    mark.replace(mark.find("class=\""), mark.find("\" d=") - mark.find("class=\""), "class=\"legend");
    return mark;
  };
  return withoutTitle(ValueMark(kLeft, y - 3.5, known)) + Text(kLeft + 10, y, kSmall, "start", "value") +
         withoutTitle(ValueMark(kLeft + 80, y - 3.5, changed)) +
         Text(kLeft + 92, y, kSmall, "start", "changed") +
         withoutTitle(MissingMark(kLeft + 180, y - 3.5, HistoryPoint())) +
         Text(kLeft + 190, y, kSmall, "start", "no value");
}

}  // namespace

std::string SvgForm(const History& history) {
  const Scale scale(history.points);
  const std::string unit = history.quantity.unit;
  return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + Number(kWidth) + "\" height=\"" +
         Number(kHeight) + "\" viewBox=\"0 0 " + Number(kWidth) + ' ' + Number(kHeight) +
         "\" font-family=\"sans-serif\">\n" + svg::Rectangle(0, 0, kWidth, kHeight, "fill=\"#ffffff\"") +
         Text(kLeft, 26, 15, "start", history.Title()) +
         Text(kLeft, 43, kSmall, "start",
              (unit.empty() ? "" : unit + ", ") + std::to_string(history.Values()) + " of " +
                  std::to_string(history.points.size()) + " runs have a value") +
         Axes(history, scale) + Points(history, scale) + Legend() + "</svg>\n";
}

}  // namespace brio::tools
