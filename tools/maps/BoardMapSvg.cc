#include <algorithm>
#include <map>

#include "tools/maps/ChannelMap.h"
#include "tools/maps/MapLegend.h"
#include "tools/maps/MapPicture.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using svg::Escaped;
using svg::Number;

/// The boards of a map, each in its cell. All with a value of one colour stand in one group, which keeps the
/// picture small; neighbours that say the same and have no number are one element.
class Boards {
public:
  Boards(const BoardMap& map, const MapStyle& style, const MapLayout& layout, const ColorScale& scale)
      : map_(map), style_(style), layout_(layout), scale_(scale) {
    for (std::size_t i = 0; i < map.boards.size(); ++i) {
      const MapBoard& board = map.boards[i];
      const MapCell& cell = layout.boards[i];
      if (!board.IsGood()) {
        AddToRun(board, cell, {ClassOf(board.status), FillOf(board.status, style.ids)}, WhyText(board));
      } else if (map.IsYesNo()) {
        AddToRun(board, cell, {"yes", YesNoColor(map, board)}, YesNoText(board));
      } else {
        AddValue(board, cell);
      }
    }
    for (const auto& [row, run] : runs_) {
      Finish(row, run);
    }
  }

  std::string Draw() const {
    // In cells of the grid, which has the shortest numbers; strokes are drawn down the middle of the cells.
    std::string text = "<g class=\"boards\">\n<g transform=\"scale(" + Number(layout_.cellWidth) + ' ' +
                       Number(layout_.cellHeight) +
                       ")\">\n<g transform=\"translate(0.5 0)\" stroke-width=\"" +
                       (IsNarrow() ? "1.02" : "0.94") + "\">\n";
    for (const auto& [color, boards] : values_) {
      text += "<g stroke=\"" + color + "\">" + boards.Text() + "</g>\n";
    }
    text += "</g>\n";
    for (const auto* beyond : {&above_, &below_}) {
      if (beyond->cells.empty()) { continue; }
      const BeyondMark& mark = beyond == &above_ ? kAboveMark : kBelowMark;
      text += std::string("<g class=\"beyond\" fill=\"") + mark.ink + "\"><path fill=\"" + mark.paper +
              "\" d=\"" + beyond->cells + "\"/>" + beyond->paths.Text() + "</g>\n";
    }
    text += "</g>\n";
    for (const auto& [look, runs] : runsOf_) {
      text += "<g class=\"" + look.first + "\" fill=\"" + look.second + "\">" + runs.Text() + "</g>\n";
    }
    constexpr int kMostArrows = 40;  // more are a crowd that shows without them
    for (const auto* beyond : {&above_, &below_}) {
      if (beyond->arrows.empty() || beyond->count > kMostArrows) { continue; }
      text += "<path class=\"arrows\" fill=\"#000000\" stroke=\"#ffffff\" d=\"" + beyond->arrows + "\"/>\n";
    }
    return text + "</g>\n";
  }

private:
  /// Elements of one look: one for each when they have tooltips, else all together.
  struct Paths {
    std::string elements;
    std::string together;

    std::string Text() const { return together.empty() ? elements : "<path d=\"" + together + "\"/>"; }
  };
  struct Beyond {
    Paths paths;
    std::string cells;
    std::string arrows;
    int count = 0;
  };
  /// Its name and its fill.
  using Look = std::pair<std::string, std::string>;

  /// A mark in a cell would be a line.
  bool IsNarrow() const { return layout_.cellWidth < 4; }

  void AddTo(Paths& paths, const std::string& d, const std::string& tooltip) const {
    if (style_.hasTooltips) {
      paths.elements += "<path d=\"" + d + "\"><title>" + Escaped(tooltip) + "</title></path>\n";
    } else {
      paths.together += d;
    }
  }

  /// "14/12/63", or plane and first cell.
  std::string NameOf(const MapBoard& board) const {
    if (style_.view == View::Readout) { return PlaceOf(map_, board); }
    return std::to_string(board.place.plane) + ',' + std::to_string(board.place.module * arrays::kPixels);
  }

  void AddValue(const MapBoard& board, const MapCell& cell) {
    const std::string tooltip = NameOf(board) + ": " + ValueText(map_, board.value);
    const std::string column = "M" + std::to_string(cell.column) + ' ';
    const std::string at = column + std::to_string(cell.row);
    if (scale_.Contains(board.value)) {
      AddTo(values_[scale_.Color(board.value)], at + "v1", tooltip);
      return;
    }
    const bool isAbove = board.value > scale_.high;
    Beyond& beyond = isAbove ? above_ : below_;
    beyond.cells += at + "h1v1h-1z";
    AddTo(beyond.paths, isAbove ? column + std::to_string(cell.row + 1) + "h1l-.5-1z" : at + "h1l-.5 1z",
          tooltip);
    AddArrow(beyond, isAbove, cell);
  }

  /// Over a narrow cell.
  void AddArrow(Beyond& beyond, bool isAbove, const MapCell& cell) const {
    if (!IsNarrow()) { return; }
    ++beyond.count;
    const double x = (cell.column + 0.5) * layout_.cellWidth;
    const double y = (cell.row + 0.5) * layout_.cellHeight;
    beyond.arrows +=
        "M" + Number(x - 4) + ' ' + Number(isAbove ? y + 5 : y - 5) + "h8l-4 " + (isAbove ? "-10z" : "10z");
  }

  std::string YesNoText(const MapBoard& board) const {
    std::string name = map_.quantity.name;
    if (!map_.minus) { return name; }
    if (board.value == 0) { return "no change"; }
    return name + " in run " + std::to_string(board.value > 0 ? map_.run : *map_.minus) + " only";
  }

  /// Why there is no value, and what there is in its place.
  std::string WhyText(const MapBoard& board) const {
    std::string why = StateName(board.status);
    if (board.ofRun) {
      const auto isIn = [&](const MapValue& value) { return value.status == board.status; };
      const std::string run = isIn(*board.ofRun) ? std::to_string(map_.run) : "";
      const std::string minus = isIn(*board.ofMinus) ? std::to_string(*map_.minus) : "";
      return why + " in " + run + (run.empty() || minus.empty() ? "" : " and ") + minus;
    }
    if (board.measured) { why += ", measured " + ValueText(map_, *board.measured); }
    return why;
  }

  /// Neighbours in a line of the grid that say the same.
  struct Run {
    int column = 0;
    int cells = 0;
    Look look;
    std::string text;
    const MapBoard* first = nullptr;
    const MapBoard* last = nullptr;
  };

  void AddToRun(const MapBoard& board, const MapCell& cell, const Look& look, const std::string& text) {
    Run& run = runs_[cell.row];
    const bool isNext = run.cells > 0 && run.column + run.cells == cell.column;
    if (isNext && run.look == look && run.text == text) {
      ++run.cells;
      run.last = &board;
      return;
    }
    Finish(cell.row, run);
    run = {cell.column, 1, look, text, &board, &board};
  }

  /// In points, for patterns must not be stretched.
  void Finish(int row, const Run& run) {
    if (run.cells == 0) { return; }
    const std::string width = Number(run.cells * layout_.cellWidth);
    const std::string path = "M" + Number(run.column * layout_.cellWidth) + ' ' +
                             Number(row * layout_.cellHeight) + 'h' + width + 'v' +
                             Number(layout_.cellHeight) + "h-" + width + 'z';
    const std::string to = run.cells > 1 ? " to " + NameOf(*run.last) : "";
    AddTo(runsOf_[run.look], path, NameOf(*run.first) + to + ": " + run.text);
  }

  const BoardMap& map_;
  const MapStyle& style_;
  const MapLayout& layout_;
  const ColorScale& scale_;
  std::map<std::string, Paths> values_;  ///< by colour
  Beyond above_;
  Beyond below_;
  std::map<Look, Paths> runsOf_;
  std::map<int, Run> runs_;  ///< by line of the grid, those that may still grow
};

}  // namespace

std::string SvgForm(const BoardMap& map, const MapStyle& style) {
  if (map.isOfChannels) { return ChannelSvgForm(map, style); }
  std::vector<arrays::BoardPlace> places;
  places.reserve(map.boards.size());
  for (const auto& board : map.boards) {
    places.push_back(board.place);
  }
  const MapLayout layout = LayoutOf(places, style.view);
  const ColorScale scale = ScaleOf(map, style.scale);
  return PictureOf(map, style, layout, scale, Boards(map, style, layout, scale).Draw());
}

}  // namespace brio::tools
