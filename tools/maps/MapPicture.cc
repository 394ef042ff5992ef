#include "tools/maps/MapPicture.h"

#include <algorithm>

#include "tools/maps/MapLegend.h"
#include "tools/maps/MapStatistics.h"
#include "tools/shared/SvgElements.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

using arrays::Status;
using svg::Escaped;
using svg::Number;
using svg::Text;

constexpr double kMargin = 24;
constexpr double kAxisRoom = 52;  // left of the grid
constexpr double kTitleSize = 22;
constexpr double kLineSize = 14;
constexpr double kLinePitch = 20;
constexpr double kTickSize = 10;
constexpr double kAxisTitleSize = 12;
constexpr double kHeadingSize = 14;
constexpr std::size_t kMostNotes = 8;
constexpr double kGroupRoom = 18;  // for the diblocks' numbers
constexpr double kPanelHead = 22;  // above the grid's first panels
constexpr double kPanelFoot = 44;  // below its last ones

std::string Tilted(double x, double y, const std::string& text, const std::string& attributes = "") {
  return "<text transform=\"translate(" + Number(x) + ' ' + Number(y) + ") rotate(-90)\" font-size=\"" +
         Number(kAxisTitleSize) + "\" text-anchor=\"middle\"" + attributes + '>' + Escaped(text) +
         "</text>\n";
}

MapLegend LegendOf(const BoardMap& map, const MapStyle& style, const ColorScale& scale) {
  MapLegend legend;
  const std::string name = map.quantity.name;
  const auto add = [&](const std::string& fill, const std::string& meaning, int count) {
    if (count > 0) { legend.entries.emplace_back(fill, meaning + ": " + std::to_string(count)); }
  };
  if (map.IsYesNo() && map.minus) {
    add(kOnlyInRunColor, name + " in run " + std::to_string(map.run) + " only", map.CountValue(1));
    add(kOnlyInMinusColor, name + " in run " + std::to_string(*map.minus) + " only", map.CountValue(-1));
    add(kNoChangeColor, "no change", map.CountValue(0));
  } else if (map.IsYesNo()) {
    add(kYesColor, name, map.Count(Status::Known));
  } else if (map.Count(Status::Known) > 0) {
    const auto statistics = StatisticsOf(map);
    const auto beyond = BoardsBeyondOf(map, scale);
    legend.scale = scale;
    legend.scaleTitle = (map.minus ? "difference of " : "") + TitledUnit(map);
    legend.least = statistics.least;
    legend.most = statistics.most;
    legend.below = beyond.below.size();
    legend.above = beyond.above.size();
    legend.valueText = [&map](double value) { return ValueText(map, value); };
    for (const auto& [boards, where] :
         {std::pair(&beyond.below, " below the scale:"), std::pair(&beyond.above, " above the scale:")}) {
      if (boards->empty()) { continue; }
      legend.notes.push_back(LinesOf(map, *boards, kMostNotes));
      legend.notes.back().insert(legend.notes.back().begin(), CountedIn(map, boards->size()) + where);
    }
    legend.hasDots = map.isOfChannels;
  }
  for (const auto status : StatusesOf(map)) {
    add(FillOf(status, style.ids), ReasonName(map, status), map.Count(status));
  }
  return legend;
}

class PanelFrame {
public:
  PanelFrame(const BoardMap& map, const MapLayout& layout, const MapPanel& panel)
      : map_(map), layout_(layout), panel_(panel) {}

  std::string Draw() const {
    std::string heading = panel_.heading;
    if (panel_.diblock > 0) {
      const std::string note = NoteOf(map_, panel_.diblock);
      if (!note.empty()) { heading += " (" + note + ')'; }
    }
    std::string text =
        Text(Left(), Top() - (panel_.groups.empty() ? 6 : 6 + kGroupRoom), kHeadingSize, "start", heading);
    for (const auto& tick : panel_.groups) {
      text += Group(tick, &tick == &panel_.groups.front());
    }
    for (const double at : panel_.xDividers) {
      text += "<path d=\"M" + Number(Left() + at * layout_.cellWidth) + ' ' + Number(Top() - 4) + 'V' +
              Number(Bottom() + 4) + "\" stroke=\"currentColor\" stroke-width=\"0.8\"/>\n";
    }
    for (const auto& tick : panel_.yTicks) {
      text += Text(Left() - 5, Top() + tick.at * layout_.cellHeight + 3.5, kTickSize, "end", tick.label);
    }
    for (const auto& tick : panel_.xTicks) {
      text += Text(Left() + tick.at * layout_.cellWidth, Bottom() + 13, kTickSize, "middle", tick.label);
    }
    return text + Text((Left() + Right()) / 2, Bottom() + 27, kAxisTitleSize, "middle", panel_.xTitle) +
           Tilted(Left() - (panel_.diblock > 0 ? 22 : 34), (Top() + Bottom()) / 2, panel_.yTitle);
  }

private:
  /// A diblock's number above its planes, and across them what holds for all of it.
  std::string Group(const Tick& tick, bool isFirst) const {
    const double x = Left() + tick.at * layout_.cellWidth;
    std::string text = Text(x, Top() - 6, kAxisTitleSize, "middle", (isFirst ? "diblock " : "") + tick.label);
    const std::string note = NoteOf(map_, std::stoi(tick.label));
    if (note.empty()) { return text; }
    // On a rim of paper, for it stands on a pattern.
    for (const char* rim : {" stroke=\"#ffffff\" stroke-width=\"5\" stroke-linejoin=\"round\"", ""}) {
      text += Tilted(x + 4, (Top() + Bottom()) / 2, note, std::string(" fill=\"#000000\"") + rim);
    }
    return text;
  }

  double Left() const { return panel_.column * layout_.cellWidth; }
  double Right() const { return (panel_.column + panel_.columns) * layout_.cellWidth; }
  double Top() const { return panel_.row * layout_.cellHeight; }
  double Bottom() const { return (panel_.row + panel_.rows) * layout_.cellHeight; }

  const BoardMap& map_;
  const MapLayout& layout_;
  const MapPanel& panel_;
};

}  // namespace

std::string PictureOf(const BoardMap& map, const MapStyle& style, const MapLayout& layout,
                      const ColorScale& scale, const std::string& cells) {
  std::vector<std::string> lines = map.about;
  lines.push_back(SummaryOf(map));
  const MapLegend legend = LegendOf(map, style, scale);
  const bool hasGroups = !layout.panels.empty() && !layout.panels.front().groups.empty();
  const double heading =
      style.hasHeading ? kTitleSize + kLinePitch * static_cast<double>(lines.size()) + 18 : 0;
  const double gridTop = kMargin + heading + kPanelHead + (hasGroups ? kGroupRoom : 0);
  const double legendTop = gridTop + layout.Height() + kPanelFoot;
  const double width = 2 * kMargin + kAxisRoom + layout.Width();
  const double height = legendTop + (style.hasLegend ? legend.Height() + kMargin : 0);
  const std::string size = "viewBox=\"0 0 " + Number(width) + ' ' + Number(height) + '"';
  std::string svg = style.hasPaper ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size +
         (style.hasPaper ? " width=\"" + Number(width) + "\" height=\"" + Number(height) + '"' : "") +
         " font-family=\"Helvetica, Arial, DejaVu Sans, sans-serif\" fill=\"currentColor\"" +
         (style.hasPaper ? " color=\"#000000\"" : "") + ">\n<title>" + Escaped(TitleOf(map)) + "</title>\n" +
         PatternsOf(style.ids);
  if (style.hasPaper) { svg += svg::Rectangle(0, 0, width, height, "fill=\"#ffffff\""); }
  if (style.hasHeading) {
    double y = kMargin + kTitleSize - 4;
    svg += Text(kMargin, y, kTitleSize, "start", TitleOf(map));
    y += 6;
    for (const auto& line : lines) {
      y += kLinePitch;
      svg += Text(kMargin, y, kLineSize, "start", Visible(line));
    }
  }
  svg += "<g transform=\"translate(" + Number(kMargin + kAxisRoom) + ' ' + Number(gridTop) + ")\">\n" + cells;
  for (const auto& panel : layout.panels) {
    svg += PanelFrame(map, layout, panel).Draw();
  }
  svg += "</g>\n";
  if (style.hasLegend) { svg += legend.Draw(kMargin + kAxisRoom, legendTop); }
  return svg + "</svg>\n";
}

}  // namespace brio::tools
