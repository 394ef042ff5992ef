#include "tools/maps/MapPicture.h"

#include <algorithm>

#include "tools/shared/SvgElements.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

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
constexpr double kPanelHead = 22;  // above the grid's first panels
constexpr double kPanelFoot = 44;  // below its last ones

std::string Tilted(double x, double y, const std::string& text) {
  return "<text transform=\"translate(" + Number(x) + ' ' + Number(y) + ") rotate(-90)\" font-size=\"" +
         Number(kAxisTitleSize) + "\" text-anchor=\"middle\">" + Escaped(text) + "</text>\n";
}

class PanelFrame {
public:
  PanelFrame(const MapLayout& layout, const MapPanel& panel) : layout_(layout), panel_(panel) {}

  std::string Draw(const std::function<std::string(int)>& noteOf) const {
    const auto withNote = [&](const std::string& text, int diblock) {
      const std::string note = diblock > 0 && noteOf ? noteOf(diblock) : "";
      return note.empty() ? text : text + " (" + note + ')';
    };
    std::string text = Text(Left(), Top() - (panel_.groups.empty() ? 6 : 24), kHeadingSize, "start",
                            withNote(panel_.heading, panel_.diblock));
    for (const auto& tick : panel_.groups) {
      const int diblock = std::stoi(tick.label);
      const std::string name = (&tick == &panel_.groups.front() ? "diblock " : "") + tick.label;
      text += Text(Left() + tick.at * layout_.cellWidth, Top() - 6, kAxisTitleSize, "middle",
                   withNote(name, diblock));
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
  double Left() const { return panel_.column * layout_.cellWidth; }
  double Right() const { return (panel_.column + panel_.columns) * layout_.cellWidth; }
  double Top() const { return panel_.row * layout_.cellHeight; }
  double Bottom() const { return (panel_.row + panel_.rows) * layout_.cellHeight; }

  const MapLayout& layout_;
  const MapPanel& panel_;
};

}  // namespace

std::string MapPicture::Draw(const MapLayout& layout, const MapStyle& style) const {
  const bool hasGroups = !layout.panels.empty() && !layout.panels.front().groups.empty();
  const double heading =
      style.hasHeading ? kTitleSize + kLinePitch * static_cast<double>(lines.size()) + 18 : 0;
  const double gridTop = kMargin + heading + kPanelHead + (hasGroups ? 18 : 0);
  const double legendTop = gridTop + layout.Height() + kPanelFoot;
  const double width = std::max(2 * kMargin + kAxisRoom + layout.Width(), 400.0);
  const double height = legendTop + (style.hasLegend ? legend.Height() + kMargin : 0);
  const std::string size = "viewBox=\"0 0 " + Number(width) + ' ' + Number(height) + '"';
  std::string svg = style.hasPaper ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" : "";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" " + size +
         (style.hasPaper ? " width=\"" + Number(width) + "\" height=\"" + Number(height) + '"' : "") +
         " font-family=\"Helvetica, Arial, DejaVu Sans, sans-serif\" fill=\"currentColor\"" +
         (style.hasPaper ? " color=\"#000000\"" : "") + ">\n<title>" + Escaped(Visible(title)) +
         "</title>\n" + PatternsOf(style.ids);
  if (style.hasPaper) { svg += svg::Rectangle(0, 0, width, height, "fill=\"#ffffff\""); }
  if (style.hasHeading) {
    double y = kMargin + kTitleSize - 4;
    svg += Text(kMargin, y, kTitleSize, "start", Visible(title));
    y += 6;
    for (const auto& line : lines) {
      y += kLinePitch;
      svg += Text(kMargin, y, kLineSize, "start", Visible(line));
    }
  }
  svg += "<g transform=\"translate(" + Number(kMargin + kAxisRoom) + ' ' + Number(gridTop) + ")\">\n" + cells;
  for (const auto& panel : layout.panels) {
    svg += PanelFrame(layout, panel).Draw(noteOf);
  }
  svg += "</g>\n";
  if (style.hasLegend) { svg += legend.Draw(kMargin + kAxisRoom, legendTop); }
  return svg + "</svg>\n";
}

}  // namespace brio::tools
