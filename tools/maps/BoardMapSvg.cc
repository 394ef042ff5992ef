#include <algorithm>
#include <array>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using arrays::Status;
using svg::Escaped;
using svg::Number;
using svg::Rectangle;
using svg::Text;

// Lengths are in the picture's own unit, a point at its natural size.
constexpr double kCellWidth = 5;
constexpr double kCellHeight = 9;
constexpr int kColumns = 3;
constexpr double kLeft = 56;
constexpr double kTop = 64;
constexpr double kBlockWidth = 64 * kCellWidth + 62;
constexpr double kBlockGap = 46;
constexpr double kLegendHeight = 118;
constexpr double kScaleWidth = 320;
constexpr double kSmall = 9;
constexpr const char* kYesColor = "#2a5a8c";

/// How a state without a value is filled: by patterns that differ without their colour.
const char* FillOf(Status status) {
  switch (status) {
    case Status::Known: return kYesColor;
    case Status::NotInRun: return "#e4e4e4";
    case Status::Masked: return "#aab4c4";
    case Status::NotInstalled: return "#ffffff";
    case Status::NotEnabled: return "url(#not-enabled)";
    case Status::Replaced: return "url(#replaced)";
    case Status::NeverMeasured: return "url(#never-measured)";
    case Status::LeftOut: return "url(#left-out)";
    default: return "url(#no-value)";
  }
}

constexpr const char* kPatterns = R"svg(<defs>
<pattern id="not-enabled" width="3" height="3" patternUnits="userSpaceOnUse" patternTransform="rotate(45)"><rect width="3" height="3" fill="#ffffff"/><rect width="1.6" height="3" fill="#c8360a"/></pattern>
<pattern id="no-value" width="3" height="3" patternUnits="userSpaceOnUse"><rect width="3" height="3" fill="#ffffff"/><rect width="3" height="1.4" fill="#000000"/></pattern>
<pattern id="replaced" width="3" height="3" patternUnits="userSpaceOnUse"><rect width="3" height="3" fill="#ffffff"/><rect width="1.6" height="3" fill="#8a0f8a"/></pattern>
<pattern id="never-measured" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" fill="#ffffff"/><circle cx="2" cy="2" r="1.1" fill="#000000"/></pattern>
<pattern id="left-out" width="4" height="4" patternUnits="userSpaceOnUse"><rect width="4" height="4" fill="#ffffff"/><path d="M0 0L4 4M4 0L0 4" stroke="#000000" stroke-width="0.8"/></pattern>
</defs>
)svg";

/// Where the diblocks stand in the picture.
struct Layout {
  std::vector<int> diblocks;
  int mostDCMs = 0;

  explicit Layout(const std::vector<DCMRow>& rows) {
    for (const auto& row : rows) {
      if (diblocks.empty() || diblocks.back() != row.diblock) { diblocks.push_back(row.diblock); }
      mostDCMs = std::max(mostDCMs, row.dcm);
    }
  }
  double BlockHeight() const { return mostDCMs * kCellHeight + kBlockGap; }
  int Columns() const { return std::min(kColumns, std::max(2, static_cast<int>(diblocks.size()))); }
  int Lines() const { return (static_cast<int>(diblocks.size()) + Columns() - 1) / Columns(); }
  double X(int diblock) const { return kLeft + Place(diblock) % Columns() * kBlockWidth; }
  double Y(int diblock) const {
    const int line = Place(diblock) / Columns();
    return kTop + line * BlockHeight();
  }
  double Width() const { return kLeft + Columns() * kBlockWidth; }
  double LegendTop() const { return kTop + Lines() * BlockHeight(); }
  double Height() const { return LegendTop() + kLegendHeight; }

private:
  int Place(int diblock) const {
    return static_cast<int>(std::find(diblocks.begin(), diblocks.end(), diblock) - diblocks.begin());
  }
};

/// A diblock's heading and axes.
std::string Axes(const Layout& layout, int diblock, int dcms) {
  const double x = layout.X(diblock);
  const double y = layout.Y(diblock);
  const double bottom = y + dcms * kCellHeight;
  std::string axes = Text(x, y - 5, 12, "start", "diblock " + std::to_string(diblock));
  for (int dcm = 1; dcm <= dcms; ++dcm) {
    axes += Text(x - 4, y + dcm * kCellHeight - 1.5, 7.5, "end", std::to_string(dcm));
  }
  for (const int port : {0, 16, 32, 48, 63}) {
    axes += Text(x + (port + 0.5) * kCellWidth, bottom + 9, 7.5, "middle", std::to_string(port));
  }
  axes += Text(x + 32 * kCellWidth, bottom + 19, kSmall, "middle", "port");
  axes += "<text transform=\"translate(" + Number(x - 18) + "," + Number((y + bottom) / 2) +
          ") rotate(-90)\" font-size=\"9\" text-anchor=\"middle\">DCM</text>\n";
  return axes;
}

std::string Cell(const Layout& layout, const BoardMap& map, const ColorScale& scale, const MapBoard& board) {
  const auto& place = board.place;
  const bool good = board.IsGood();
  const std::string fill = good && !map.IsYesNo() ? scale.Color(board.value) : FillOf(board.status);
  std::string what = "diblock " + std::to_string(place.diblock) + ", DCM " + std::to_string(place.dcm) +
                     ", port " + std::to_string(place.port) + ": ";
  if (!good) {
    what += StateName(board.status);
    if (board.measured) { what += ", measured " + ValueText(map, *board.measured) + UnitSuffix(map); }
  } else if (map.IsYesNo()) {
    what += map.quantity.name;
  } else {
    what += ValueText(map, board.value) + UnitSuffix(map);
  }
  const bool isOutside = good && !map.IsYesNo() && !scale.Contains(board.value);
  const bool isEmpty = board.status == Status::NotInstalled;
  const std::string outline = isOutside ? " stroke=\"#000000\" stroke-width=\"0.9\""
                              : isEmpty ? " stroke=\"#444444\" stroke-width=\"0.5\""
                                        : "";
  return Rectangle(layout.X(place.diblock) + place.port * kCellWidth,
                   layout.Y(place.diblock) + (place.dcm - 1) * kCellHeight, kCellWidth, kCellHeight,
                   "class=\"board\" fill=\"" + fill + "\"" + outline, "<title>" + Escaped(what) + "</title>");
}

/// The colour scale with its ends, and how many boards lie beyond them.
std::string ScaleBar(double y, const BoardMap& map, const ColorScale& scale) {
  constexpr int kSteps = 64;
  std::string bar = "<g class=\"scale\">\n";
  for (int step = 0; step < kSteps; ++step) {
    const double value = scale.low + (scale.high - scale.low) * (step + 0.5) / kSteps;
    bar += Rectangle(kLeft + step * kScaleWidth / kSteps, y, kScaleWidth / kSteps + 0.3, 12,
                     "fill=\"" + scale.Color(value) + "\"");
  }
  bar += Rectangle(kLeft, y, kScaleWidth, 12, "fill=\"none\" stroke=\"#000000\" stroke-width=\"0.6\"");
  const int ticks = scale.high > scale.low ? 4 : 0;
  for (int tick = 0; tick <= ticks; ++tick) {
    const double part = ticks == 0 ? 0.5 : static_cast<double>(tick) / ticks;
    bar += Text(kLeft + part * kScaleWidth, y + 23, kSmall, "middle",
                ValueText(map, scale.low + part * (scale.high - scale.low)));
  }
  bar += Text(kLeft + kScaleWidth / 2, y + 36, 10, "middle", TitledUnit(map));
  const auto beyond = [&](auto test) {
    return std::to_string(std::count_if(map.boards.begin(), map.boards.end(), [&](const MapBoard& board) {
      return board.IsGood() && test(board.value);
    }));
  };
  bar += Text(kLeft + kScaleWidth / 2, y + 49, kSmall, "middle",
              beyond([&](double value) { return value < scale.low; }) + " boards below the scale and " +
                  beyond([&](double value) { return value > scale.high; }) + " above it are outlined");
  return bar + "</g>\n";
}

std::string Legend(const Layout& layout, const BoardMap& map, const ColorScale& scale) {
  const double top = layout.LegendTop();
  std::string legend = "<g class=\"legend\">\n";
  if (!map.IsYesNo()) { legend += ScaleBar(top, map, scale); }
  const double x = map.IsYesNo() ? kLeft : kLeft + kScaleWidth + 60;
  double y = top;
  auto statuses = StatusesOf(map);
  if (map.IsYesNo() && map.Count(Status::Known) > 0) { statuses.insert(statuses.begin(), Status::Known); }
  for (const auto state : statuses) {
    const std::string name = state == Status::Known ? map.quantity.name : StateName(state);
    legend +=
        Rectangle(x, y, 15, kCellHeight,
                  std::string("stroke=\"#000000\" stroke-width=\"0.4\" fill=\"") + FillOf(state) + "\"");
    legend += Text(x + 22, y + 8, 10, "start", name + ": " + std::to_string(map.Count(state)));
    y += 16;
  }
  return legend + "</g>\n";
}

}  // namespace

std::string SvgForm(const BoardMap& map) {
  const auto rows = RowsOf(map);
  const Layout layout(rows);
  const ColorScale scale = ScaleOf(map);
  const std::string size = Number(layout.Width()) + " " + Number(layout.Height());
  std::string svg =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
      Number(layout.Width()) + "\" height=\"" + Number(layout.Height()) + "\" viewBox=\"0 0 " + size +
      "\" font-family=\"Helvetica, Arial, sans-serif\">\n<title>" + Escaped(TitleOf(map)) + "</title>\n" +
      kPatterns;
  svg += Rectangle(0, 0, layout.Width(), layout.Height(), "fill=\"#ffffff\"");
  svg += Text(kLeft, 30, 17, "start", TitleOf(map));
  svg += "<g class=\"boards\" stroke=\"#ffffff\" stroke-width=\"0.3\">\n";
  for (const auto& board : map.boards) {
    svg += Cell(layout, map, scale, board);
  }
  svg += "</g>\n";
  for (const int diblock : layout.diblocks) {
    int dcms = 0;
    for (const auto& row : rows) {
      if (row.diblock == diblock) { dcms = row.dcm; }
    }
    svg += Axes(layout, diblock, dcms);
  }
  return svg + Legend(layout, map, scale) + "</svg>\n";
}

}  // namespace brio::tools
