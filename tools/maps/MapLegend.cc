#include "tools/maps/MapLegend.h"

#include <algorithm>
#include <array>

#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using arrays::Status;
using svg::Number;
using svg::Rectangle;
using svg::Text;

constexpr double kScaleWidth = 260;
constexpr double kScaleHeight = 16;
constexpr double kMarkWidth = 16;
constexpr double kMarkRoom = 62;  // between a mark's box and the scale, for their labels
constexpr double kLinePitch = 17;
constexpr double kEntriesAt = 430;
constexpr double kNotesAt = 700;
constexpr double kNotesPitch = 215;
constexpr double kTextSize = 12;
constexpr double kScaleRoom = 70;

/// A mark for a value beyond the scale that fills a box.
std::string DrawMark(const BeyondMark& mark, double x, double y, double width, double height) {
  const double base = mark.isUp ? y + height : y;
  const double tip = mark.isUp ? y : y + height;
  return Rectangle(x, y, width, height, std::string("fill=\"") + mark.paper + '"') + "<path d=\"M" +
         Number(x) + ' ' + Number(base) + 'h' + Number(width) + 'L' + Number(x + width / 2) + ' ' +
         Number(tip) + "z\" fill=\"" + mark.ink + "\"/>\n";
}

}  // namespace

std::string FillOf(Status status, const std::string& ids) {
  const auto pattern = [&](const char* name) { return "url(#" + ids + name + ')'; };
  switch (status) {
    case Status::Known: return kYesColor;
    case Status::NotInRun: return pattern("not-in-run");
    case Status::Masked: return pattern("masked");
    case Status::NotInstalled: return pattern("not-installed");
    case Status::NotEnabled: return pattern("not-enabled");
    case Status::Replaced: return pattern("replaced");
    case Status::NeverMeasured: return pattern("never-measured");
    case Status::LeftOut: return pattern("left-out");
    default: return pattern("no-value");
  }
}

std::string PatternsOf(const std::string& ids) {
  struct Pattern {
    const char* name;
    const char* size;
    const char* more;
    const char* inside;
  };
  static constexpr std::array<Pattern, 8> kPatterns{{
      {"not-in-run", "8", "",
       R"svg(<path d="M0 0h8v8h-8z" fill="#ebebeb"/><path d="M4 3v2" stroke="#b8b8b8" stroke-width="1"/>)svg"},
      {"masked", "6", "", R"svg(<path d="M-1 5L5 -1M1 7L7 1" stroke="#8090a8" stroke-width="0.8"/>)svg"},
      {"not-installed", "5", "", R"svg(<path d="M2.5 1v3M1 2.5h3" stroke="#9a9a9a" stroke-width="0.6"/>)svg"},
      {"not-enabled", "3", R"svg( patternTransform="rotate(45)")svg",
       R"svg(<path d="M0.8 0v3" stroke="#c8360a" stroke-width="1.6"/>)svg"},
      {"no-value", "3", "", R"svg(<path d="M0 0.7h3" stroke="#000000" stroke-width="1.4"/>)svg"},
      {"replaced", "3", "", R"svg(<path d="M0.8 0v3" stroke="#8a0f8a" stroke-width="1.6"/>)svg"},
      {"never-measured", "4", "", R"svg(<circle cx="2" cy="2" r="1.1" fill="#000000"/>)svg"},
      {"left-out", "4", "", R"svg(<path d="M0 0L4 4M4 0L0 4" stroke="#000000" stroke-width="0.8"/>)svg"},
  }};
  std::string text = "<defs>\n";
  for (const auto& pattern : kPatterns) {
    const std::string size = std::string("width=\"") + pattern.size + "\" height=\"" + pattern.size + '"';
    text += "<pattern id=\"" + ids + pattern.name + "\" " + size + " patternUnits=\"userSpaceOnUse\"" +
            pattern.more + "><rect " + size + " fill=\"#ffffff\"/>" + pattern.inside + "</pattern>\n";
  }
  return text + "</defs>\n";
}

std::string ClassOf(Status status) {
  std::string name = StateName(status);
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string YesNoColor(const BoardMap& map, const MapBoard& board) {
  if (!map.minus) { return kYesColor; }
  return board.value > 0 ? kOnlyInRunColor : board.value < 0 ? kOnlyInMinusColor : kNoChangeColor;
}

double MapLegend::Height() const {
  std::size_t lines = entries.size();
  for (const auto& list : notes) {
    lines = std::max(lines, list.size());
  }
  return std::max(scale ? kScaleRoom : 0.0, static_cast<double>(lines) * kLinePitch) + 8;
}

std::string MapLegend::DrawScale(double x, double y) const {
  constexpr int kSteps = 63;
  const double left = x + (below > 0 ? kMarkRoom : 0);
  std::string bar = "<g class=\"scale\">\n";
  for (int step = 0; step < kSteps; ++step) {
    const double value = scale->low + (scale->high - scale->low) * (step + 0.5) / kSteps;
    // Overlapping a little, so that no seam shows between them.
    const double overlap = step + 1 < kSteps ? 0.4 : 0;
    bar += Rectangle(left + step * kScaleWidth / kSteps, y, kScaleWidth / kSteps + overlap, kScaleHeight,
                     "fill=\"" + scale->Color(value) + '"');
  }
  const std::string frame = "fill=\"none\" stroke=\"currentColor\" stroke-width=\"0.7\"";
  bar += Rectangle(left, y, kScaleWidth, kScaleHeight, frame);
  const int ticks = scale->high > scale->low ? 4 : 0;
  for (int tick = 0; tick <= ticks; ++tick) {
    const double part = ticks == 0 ? 0.5 : static_cast<double>(tick) / ticks;
    bar += Text(left + part * kScaleWidth, y + kScaleHeight + 14, kTextSize, "middle",
                valueText(scale->low + part * (scale->high - scale->low)));
  }
  const auto beyond = [&](const BeyondMark& mark, double at, double extreme, std::size_t count) {
    const std::string dots = "fill=\"" + (mark.isUp ? kAboveColor : kBelowColor) + '"';
    bar += (hasDots ? Rectangle(at - kMarkWidth / 2, y, kMarkWidth, kScaleHeight, dots)
                    : DrawMark(mark, at - kMarkWidth / 2, y, kMarkWidth, kScaleHeight)) +
           Rectangle(at - kMarkWidth / 2, y, kMarkWidth, kScaleHeight, frame) +
           Text(at, y + kScaleHeight + 14, kTextSize, "middle", valueText(extreme)) +
           Text(at, y - 5, kTextSize, "middle", std::to_string(count));
  };
  if (below > 0) { beyond(kBelowMark, x + kMarkWidth / 2, least, below); }
  if (above > 0) { beyond(kAboveMark, left + kScaleWidth + kMarkRoom - kMarkWidth / 2, most, above); }
  bar += Text(left, y + kScaleHeight + 33, kTextSize + 1, "start", scaleTitle);
  return bar + "</g>\n";
}

std::string MapLegend::Draw(double x, double y) const {
  std::string legend = "<g class=\"legend\">\n";
  if (scale) { legend += DrawScale(x, y + 12); }
  const double entriesX = scale ? x + kEntriesAt : x;
  double line = y;
  for (const auto& [fill, meaning] : entries) {
    legend += Rectangle(entriesX, line, 22, 13,
                        "stroke=\"currentColor\" stroke-width=\"0.6\" fill=\"" + fill + '"');
    legend += Text(entriesX + 30, line + 11, kTextSize, "start", meaning);
    line += kLinePitch;
  }
  double left = x + kNotesAt;
  for (const auto& list : notes) {
    line = y;
    for (const auto& note : list) {
      legend += Text(left, line + 11, kTextSize, "start", note);
      line += kLinePitch;
    }
    left += kNotesPitch;
  }
  return legend + "</g>\n";
}

}  // namespace brio::tools
