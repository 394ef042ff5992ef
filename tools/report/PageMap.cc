#include "tools/report/PageMap.h"

#include <algorithm>
#include <map>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"
#include "tools/maps/MapStatistics.h"
#include "tools/maps/Palette.h"
#include "tools/shared/Format.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools::pagemap {
namespace {

using arrays::BoardPlace;
using arrays::Status;
using svg::Number;

constexpr double kFontSize = 12;
constexpr double kSmall = 10;

std::string Group(const std::string& attributes, const std::string& inside) {
  return "<g " + attributes + ">\n" + inside + "</g>\n";
}

/// Segments of a line through the middle of cells, as wide as these are high: "M3 7h2".
class CellPath {
public:
  explicit CellPath(double width = 1, double height = 1) : width_(width), height_(height) {}

  void Add(const MapCell& cell) {
    if (cell.row == row_ && cell.column == end_) {
      ++end_;
      return;
    }
    Flush();
    start_ = cell.column;
    end_ = start_ + 1;
    row_ = cell.row;
  }
  std::string Text() {
    Flush();
    return text_;
  }

private:
  void Flush() {
    if (end_ == start_) { return; }
    text_ +=
        'M' + Number(start_ * width_) + ' ' + Number(row_ * height_) + 'h' + Number((end_ - start_) * width_);
    start_ = end_;
  }

  double width_;
  double height_;
  std::string text_;
  int start_ = 0;
  int end_ = 0;
  int row_ = -1;
};

/// Boards of a colour, and the marks of those beyond the scale. Lengths are in cells.
std::string Values(const BoardMap& map, const MapLayout& layout) {
  const ColorScale scale = ScaleOf(map);
  const auto colors = Colors();
  std::vector<CellPath> ofColor(colors.size());
  CellPath yes;
  CellPath below;
  CellPath above;
  for (std::size_t i = 0; i < map.boards.size(); ++i) {
    const auto& board = map.boards[i];
    const auto& cell = layout.boards[i];
    if (!board.IsGood()) { continue; }
    if (map.IsYesNo()) {
      yes.Add(cell);
      continue;
    }
    // By the digits that are shown, which are what the script knows.
    const double shown = std::stod(ValueText(map, board.value));
    const auto color = std::min(static_cast<int>(scale.Position(shown) * kColors), kColors - 1);
    ofColor[static_cast<std::size_t>(color)].Add(cell);
    if (!scale.Contains(board.value)) { (board.value < scale.low ? below : above).Add(cell); }
  }
  std::string cells;
  const auto add = [&](const std::string& attribute, CellPath& path) {
    const std::string text = path.Text();
    if (!text.empty()) { cells += "<path " + attribute + " d=\"" + text + "\"/>\n"; }
  };
  for (std::size_t i = 0; i < colors.size(); ++i) {
    add("stroke=\"" + colors[i] + "\"", ofColor[i]);
  }
  add("class=\"yes\"", yes);
  add("class=\"below\"", below);
  add("class=\"above\"", above);
  return cells;
}

/// Boards without a value, by their patterns. Lengths are in points, so that these are not stretched.
std::string WithoutValue(const BoardMap& map, const MapLayout& layout) {
  std::map<Status, CellPath> ofStatus;
  for (std::size_t i = 0; i < map.boards.size(); ++i) {
    if (map.boards[i].IsGood()) { continue; }
    const auto path = ofStatus.try_emplace(map.boards[i].status, layout.cellWidth, layout.cellHeight).first;
    path->second.Add(layout.boards[i]);
  }
  std::string cells;
  for (auto& [status, path] : ofStatus) {
    cells += "<path stroke=\"url(#" + PatternOf(status) + ")\" d=\"" + path.Text() + "\"/>\n";
  }
  return cells;
}

std::string Axes(const MapLayout& layout) {
  std::string axes;
  const double width = layout.cellWidth;
  const double height = layout.cellHeight;
  for (const auto& panel : layout.panels) {
    const double x = kLeft + panel.column * width;
    const double y = kTop + panel.row * height;
    const double bottom = y + panel.rows * height;
    const double right = x + panel.columns * width;
    axes += svg::Rectangle(x, y, right - x, bottom - y, "class=\"panel\"");
    axes += svg::Text(x, y - 6, kFontSize, "start", panel.heading);
    for (const auto& tick : panel.xTicks) {
      axes += svg::Text(x + tick.at * width, bottom + 11, kSmall, "middle", tick.label);
    }
    for (const auto& tick : panel.yTicks) {
      axes += svg::Text(x - 4, y + tick.at * height + 3.5, kSmall, "end", tick.label);
    }
    axes += svg::Text((x + right) / 2, bottom + 23, kSmall, "middle", panel.xTitle);
    axes += "<text transform=\"translate(" + Number(x - 26) + ' ' + Number((y + bottom) / 2) +
            ") rotate(-90)\" font-size=\"10\" text-anchor=\"middle\">" + svg::Escaped(panel.yTitle) +
            "</text>\n";
  }
  return axes;
}

/// Elements with the names to which links lead.
std::string Marks(const std::vector<BoardPlace>& boards, const MapLayout& layout,
                  const std::vector<UnusualPlace>& places) {
  struct Box {
    int left = 1 << 20;
    int top = 1 << 20;
    int right = 0;
    int bottom = 0;
    void Add(const MapCell& cell) {
      left = std::min(left, cell.column);
      top = std::min(top, cell.row);
      right = std::max(right, cell.column + 1);
      bottom = std::max(bottom, cell.row + 1);
    }
  };
  std::map<std::string, Box> boxes;
  for (const auto& place : places) {
    boxes[place.Anchor()];
  }
  for (std::size_t i = 0; i < boards.size(); ++i) {
    const auto& place = boards[i];
    UnusualPlace named;
    named.diblock = place.diblock;
    for (const int depth : {0, 1, 2}) {
      if (depth > 0) { named.dcm = place.dcm; }
      if (depth > 1) { named.port = place.port; }
      const auto box = boxes.find(named.Anchor());
      if (box != boxes.end()) { box->second.Add(layout.boards[i]); }
    }
  }
  std::string marks;
  for (const auto& [name, box] : boxes) {
    if (box.right == 0) { continue; }
    marks += svg::Rectangle(kLeft + box.left * layout.cellWidth - 1, kTop + box.top * layout.cellHeight - 1,
                            (box.right - box.left) * layout.cellWidth + 2,
                            (box.bottom - box.top) * layout.cellHeight + 2, "id=\"" + name + "\"");
  }
  return marks;
}

/// What is drawn on paper where there is no value: by forms that differ without their colours.
const char* InkOf(Status status) {
  switch (status) {
    case Status::NotInRun: return R"(<path class="faint" d="M0 6L6 0"/>)";
    case Status::Masked: return R"(<path class="faint" d="M0 3h6M3 0v6"/>)";
    case Status::NotInstalled: return R"(<circle class="ink" cx="3" cy="3" r="0.9"/>)";
    case Status::NotEnabled: return R"(<path class="alert" d="M-1 5l2 2M0 0l6 6M5 -1l2 2"/>)";
    case Status::Replaced: return R"(<path class="alert" d="M1.5 0v6M4.5 0v6"/>)";
    case Status::NeverMeasured: return R"(<circle class="alert-ink" cx="3" cy="3" r="2"/>)";
    case Status::LeftOut: return R"(<path class="alert" d="M0 0L6 6M6 0L0 6"/>)";
    default: return R"(<path class="ink-line" d="M0 1.5h6M0 4.5h6"/>)";
  }
}

}  // namespace

std::vector<std::string> Colors() {
  std::vector<std::string> colors;
  colors.reserve(kColors);
  for (int i = 0; i < kColors; ++i) {
    colors.push_back(ColorOf(Palette::Cividis, (i + 0.5) / kColors).Hex());
  }
  return colors;
}

std::string PatternOf(Status status) {
  std::string name = arrays::NameOf(status);
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string Patterns() {
  std::string patterns;
  for (int i = 0; i < arrays::kStatuses; ++i) {
    const auto status = static_cast<Status>(i);
    if (status == Status::Known) { continue; }
    patterns += "<pattern id=\"" + PatternOf(status) +
                "\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\">"
                "<rect class=\"paper\" width=\"6\" height=\"6\"/>" +
                InkOf(status) + "</pattern>\n";
  }
  return patterns;
}

Picture Draw(const BoardMap* map, const MapLayout& layout, const std::vector<BoardPlace>& boards,
             const std::vector<UnusualPlace>& places) {
  Picture picture;
  picture.width = kLeft + layout.Width() + kRight;
  picture.height = kTop + layout.Height() + kBottom;
  picture.elements = Axes(layout);
  const std::string scaled = "scale(" + Number(layout.cellWidth) + ' ' + Number(layout.cellHeight) + ")";
  const std::string moved = "translate(" + Number(kLeft) + ' ' + Number(kTop) + ")";
  picture.elements += Group("class=\"values\" transform=\"" + moved + ' ' + scaled + " translate(0 0.5)\"",
                            map == nullptr ? "" : Values(*map, layout));
  picture.elements +=
      Group("class=\"patterns\" stroke-width=\"" + Number(layout.cellHeight) + "\" transform=\"translate(" +
                Number(kLeft) + ' ' + Number(kTop + layout.cellHeight / 2) + ")\"",
            map == nullptr ? "" : WithoutValue(*map, layout));
  picture.elements += Group("class=\"marks\"", Marks(boards, layout, places));
  return picture;
}

std::string ScaleSvg(const BoardMap& map) {
  constexpr double kWidth = 420;
  constexpr double kBegin = 70;
  constexpr double kEnd = 350;
  constexpr double kCap = 16;
  constexpr double kY = 6;
  constexpr double kHeight = 14;
  const ColorScale scale = ScaleOf(map);
  const MapStatistics statistics = StatisticsOf(map);
  const auto colors = Colors();
  std::string bar;
  const double step = (kEnd - kBegin) / kColors;
  for (std::size_t i = 0; i < colors.size(); ++i) {
    bar += svg::Rectangle(kBegin + static_cast<double>(i) * step, kY, step + 0.3, kHeight,
                          "fill=\"" + colors[i] + "\"");
  }
  const auto text = [&](double value) { return ValueText(map, value); };
  const bool hasBelow = statistics.least < scale.low;
  const bool hasAbove = statistics.most > scale.high;
  const auto cap = [&](double x, const std::string& color, const char* kind) {
    bar += svg::Rectangle(x, kY, kCap, kHeight, "fill=\"" + color + "\"");
    bar += "<path class=\"" + std::string(kind) + "-mark\" d=\"M" + Number(x) + ' ' +
           Number(kY + kHeight / 2) + 'h' + Number(kCap) + "\"/>\n";
  };
  if (hasBelow) { cap(kBegin - kCap - 4, colors.front(), "below"); }
  if (hasAbove) { cap(kEnd + 4, colors.back(), "above"); }
  const double least = hasBelow ? kBegin - kCap - 8 : kBegin - 4;
  const double most = hasAbove ? kEnd + kCap + 8 : kEnd + 4;
  bar += svg::Text(least, kY + 11, kFontSize, "end", text(statistics.least));
  bar += svg::Text(most, kY + 11, kFontSize, "start", text(statistics.most));
  for (const double part : {0.0, 0.5, 1.0}) {
    bar += svg::Text(kBegin + part * (kEnd - kBegin), kY + kHeight + 14, kSmall, "middle",
                     text(scale.low + part * (scale.high - scale.low)));
  }
  bar += svg::Text((kBegin + kEnd) / 2, kY + kHeight + 29, kFontSize, "middle", TitledUnit(map));
  return "<svg class=\"scale\" viewBox=\"0 0 " + Number(kWidth) + " 54\" role=\"img\" aria-label=\"" +
         svg::Escaped("Scale: from " + text(statistics.least) + " to " + text(statistics.most) +
                      UnitSuffix(map)) +
         "\">\n" + bar + "</svg>\n";
}

}  // namespace brio::tools::pagemap
