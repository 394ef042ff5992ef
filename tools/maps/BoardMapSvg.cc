#include <algorithm>
#include <map>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapLegend.h"
#include "tools/maps/MapPicture.h"
#include "tools/maps/MapStatistics.h"
#include "tools/shared/SvgElements.h"

namespace brio::tools {
namespace {

using arrays::Status;
using svg::Escaped;
using svg::Number;

constexpr std::size_t kMostNotes = 12;

/// The boards of a map, each in its cell. All with a value of one colour stand in one group, which keeps the
/// picture small; neighbours without a value, and of the same reason, are one element.
class Boards {
public:
  Boards(const BoardMap& map, const MapStyle& style, const MapLayout& layout, const ColorScale& scale)
      : map_(map), style_(style), layout_(layout), scale_(scale) {
    for (std::size_t i = 0; i < map.boards.size(); ++i) {
      Add(i);
    }
    for (const auto& [row, run] : runs_) {
      Finish(row, run);
    }
  }

  std::string Draw() const {
    std::string text = "<g class=\"boards\">\n";
    // In cells of the grid, which has the shortest numbers; strokes are drawn down the middle of the cells.
    const std::string scaled =
        "<g transform=\"scale(" + Number(layout_.cellWidth) + ' ' + Number(layout_.cellHeight) + ")\">\n";
    text += scaled + "<g transform=\"translate(0.5 0)\" stroke-width=\"" +
            (layout_.cellWidth > 4 ? "0.94" : "1.02") + "\">\n";
    for (const auto& [color, boards] : colored_) {
      text += "<g stroke=\"" + color + "\">" + boards.Text() + "</g>\n";
    }
    text += "</g>\n";
    for (const auto& [mark, boards] :
         std::map<const BeyondMark*, const Paths*>{{&kAboveMark, &above_}, {&kBelowMark, &below_}}) {
      if (boards->IsEmpty()) { continue; }
      text += std::string("<g class=\"beyond\" fill=\"") + mark->ink + "\"><path fill=\"" + mark->paper +
              "\" d=\"" + boards->cells + "\"/>" + boards->Text() + "</g>\n";
    }
    text += "</g>\n";
    for (const auto& [status, runs] : withoutValue_) {
      text += "<g class=\"" + ClassOf(status) + "\" fill=\"" + FillOf(status, style_.ids) + "\">" +
              runs.Text() + "</g>\n";
    }
    return text + "</g>\n";
  }

private:
  /// Elements of one look: one for each when they have tooltips, else all together.
  struct Paths {
    std::string elements;
    std::string together;
    std::string cells;

    bool IsEmpty() const { return elements.empty() && together.empty(); }
    std::string Text() const { return together.empty() ? elements : "<path d=\"" + together + "\"/>"; }
  };

  void AddTo(Paths& paths, const std::string& d, const std::string& tooltip) const {
    if (style_.hasTooltips) {
      paths.elements += "<path d=\"" + d + "\"><title>" + Escaped(tooltip) + "</title></path>\n";
    } else {
      paths.together += d;
    }
  }

  static std::string ClassOf(Status status) {
    std::string name = StateName(status);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
  }

  /// "14/12/63", or plane and first cell.
  std::string PlaceOf(const arrays::BoardPlace& place) const {
    if (style_.view == View::Geometry) {
      return std::to_string(place.plane) + ',' + std::to_string(place.module * arrays::kPixels);
    }
    return std::to_string(place.diblock) + '/' + std::to_string(place.dcm) + '/' + std::to_string(place.port);
  }

  void Add(std::size_t index) {
    const MapBoard& board = map_.boards[index];
    const MapCell& cell = layout_.boards[index];
    if (!board.IsGood()) {
      AddWithoutValue(index);
      return;
    }
    const std::string at = std::to_string(cell.column) + ' ' + std::to_string(cell.row);
    if (map_.IsYesNo()) {
      AddTo(colored_[YesNoColor(board)], "M" + at + "v1", PlaceOf(board.place) + ": " + YesNoText(board));
      return;
    }
    const std::string tooltip = PlaceOf(board.place) + ": " + ValueText(map_, board.value);
    if (scale_.Contains(board.value)) {
      AddTo(colored_[scale_.Color(board.value)], "M" + at + "v1", tooltip);
    } else if (board.value > scale_.high) {
      above_.cells += "M" + at + "h1v1h-1z";
      AddTo(above_, "M" + std::to_string(cell.column) + ' ' + std::to_string(cell.row + 1) + "h1l-.5-1z",
            tooltip);
    } else {
      below_.cells += "M" + at + "h1v1h-1z";
      AddTo(below_, "M" + at + "h1l-.5 1z", tooltip);
    }
  }

  std::string YesNoColor(const MapBoard& board) const {
    if (!map_.minus) { return kYesColor; }
    return board.value > 0 ? kOnlyInRunColor : board.value < 0 ? kOnlyInMinusColor : kNoChangeColor;
  }
  std::string YesNoText(const MapBoard& board) const {
    const std::string name = map_.quantity.name;
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

  /// Neighbours without a value, for the same reason, in a line of the grid.
  struct Run {
    int column = 0;
    int cells = 0;
    Status status = Status::Known;
    std::string why;
    const MapBoard* first = nullptr;
    const MapBoard* last = nullptr;
  };

  void AddWithoutValue(std::size_t index) {
    const MapBoard& board = map_.boards[index];
    const MapCell& cell = layout_.boards[index];
    const std::string why = WhyText(board);
    Run& run = runs_[cell.row];
    const bool isNext = run.column + run.cells == cell.column && run.status == board.status;
    if (run.cells > 0 && isNext && run.why == why) {
      ++run.cells;
      run.last = &board;
      return;
    }
    Finish(cell.row, run);
    run = {cell.column, 1, board.status, why, &board, &board};
  }

  /// In points, for patterns must not be stretched.
  void Finish(int row, const Run& run) {
    if (run.cells == 0) { return; }
    const std::string width = Number(run.cells * layout_.cellWidth);
    const std::string path = "M" + Number(run.column * layout_.cellWidth) + ' ' +
                             Number(row * layout_.cellHeight) + 'h' + width + 'v' +
                             Number(layout_.cellHeight) + "h-" + width + 'z';
    const std::string to = run.cells > 1 ? " to " + PlaceOf(run.last->place) : "";
    AddTo(withoutValue_[run.status], path, PlaceOf(run.first->place) + to + ": " + run.why);
  }

  const BoardMap& map_;
  const MapStyle& style_;
  const MapLayout& layout_;
  const ColorScale& scale_;
  std::map<std::string, Paths> colored_;
  Paths above_;
  Paths below_;
  std::map<Status, Paths> withoutValue_;
  std::map<int, Run> runs_;  ///< by line of the grid, those that may still grow
};

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
         {std::pair(&beyond.above, " above the scale:"), std::pair(&beyond.below, " below the scale:")}) {
      if (boards->empty()) { continue; }
      legend.notes.push_back(Counted(boards->size(), "board") + where);
      const auto most = kMostNotes / (beyond.above.empty() || beyond.below.empty() ? 1 : 2) - 1;
      for (const auto& line : LinesOf(map, *boards, most)) {
        legend.notes.push_back("  " + line);
      }
    }
  }
  for (const auto status : StatusesOf(map)) {
    add(FillOf(status, style.ids), ReasonName(map, status), map.Count(status));
  }
  return legend;
}

}  // namespace

std::string SvgForm(const BoardMap& map, const MapStyle& style) {
  std::vector<arrays::BoardPlace> places;
  places.reserve(map.boards.size());
  for (const auto& board : map.boards) {
    places.push_back(board.place);
  }
  const MapLayout layout = LayoutOf(places, style.view);
  const ColorScale scale = ScaleOf(map, style.scale);
  MapPicture picture;
  picture.title = TitleOf(map);
  picture.lines = map.about;
  picture.lines.push_back(SummaryOf(map));
  picture.cells = Boards(map, style, layout, scale).Draw();
  picture.legend = LegendOf(map, style, scale);
  picture.noteOf = [&map](int diblock) { return NoteOf(map, diblock); };
  return picture.Draw(layout, style);
}

}  // namespace brio::tools
