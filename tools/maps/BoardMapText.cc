#include <algorithm>
#include <array>
#include <map>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/MapStatistics.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

using arrays::Status;

constexpr int kSteps = 10;
// Terminals of 256 colours.
constexpr int kBlack = 16;
constexpr int kWhite = 231;
constexpr int kOutside = 208;  // orange
constexpr int kYes = 31;
constexpr std::size_t kMostLines = 20;

/// One board as it is drawn; the background is -1 for the terminal's own.
struct Cell {
  char glyph = ' ';
  int foreground = -1;
  int background = -1;

  bool SameColors(const Cell& other) const {
    return foreground == other.foreground && background == other.background;
  }
};

int StepOf(const ColorScale& scale, double value) {
  return std::min(static_cast<int>(scale.Position(value) * kSteps), kSteps - 1);
}

/// The nearest colour of the terminal's cube of six levels each.
int TerminalColor(const RGB& color) {
  constexpr std::array<int, 6> kLevels{0, 95, 135, 175, 215, 255};
  const auto level = [&](int value) {
    const auto* const nearest = std::min_element(kLevels.begin(), kLevels.end(), [value](int a, int b) {
      return std::abs(a - value) < std::abs(b - value);
    });
    return static_cast<int>(nearest - kLevels.begin());
  };
  constexpr int kFirst = 16;
  return kFirst + 36 * level(color.red) + 6 * level(color.green) + level(color.blue);
}

Cell OnPalette(char glyph, const ColorScale& scale, double part) {
  const RGB color = ColorOf(scale.palette, part);
  constexpr int kLight = 128 * (3 + 6 + 1);
  const bool isLight = 3 * color.red + 6 * color.green + color.blue > kLight;
  return {glyph, isLight ? kBlack : kWhite, TerminalColor(color)};
}

Cell StepCell(const ColorScale& scale, int step) {
  return OnPalette(static_cast<char>('0' + step), scale, step / (kSteps - 1.0));
}
Cell BelowCell(const ColorScale& scale) { return OnPalette('<', scale, 0); }
Cell AboveCell(const ColorScale& scale) { return OnPalette('>', scale, 1); }

/// Of yes and no; in a difference + and - where only the run, or only the other, says yes.
Cell YesCell(const BoardMap& map, double value) {
  if (!map.minus) { return {'#', kWhite, kYes}; }
  return value > 0 ? Cell{'+', kBlack, kOutside} : value < 0 ? Cell{'-', kWhite, kYes} : Cell{'=', -1, -1};
}

Cell CellOf(const BoardMap& map, const ColorScale& scale, const MapBoard& board) {
  switch (board.status) {
    case Status::Known: break;
    case Status::NotInRun: return {};
    case Status::Masked: return {map.minus ? 'm' : '-', -1, -1};
    case Status::NotInstalled: return {'.', -1, -1};
    case Status::NotEnabled: return {'x', kBlack, kOutside};
    case Status::NeverMeasured: return {'u', kBlack, kOutside};
    case Status::LeftOut: return {'o', kBlack, kOutside};
    case Status::Replaced: return {'!', kBlack, kOutside};
    case Status::NotFinite: return {'n', kBlack, kOutside};
    default: return {'?', kBlack, kOutside};
  }
  if (map.IsYesNo()) { return YesCell(map, board.value); }
  if (board.value < scale.low) { return BelowCell(scale); }
  if (board.value > scale.high) { return AboveCell(scale); }
  return StepCell(scale, StepOf(scale, board.value));
}

std::string Drawn(const std::vector<Cell>& cells, bool colored) {
  std::string line;
  Cell current;
  for (const auto& cell : cells) {
    if (colored && !cell.SameColors(current)) {
      line += "\033[0m";
      if (cell.foreground >= 0) { line += "\033[38;5;" + std::to_string(cell.foreground) + "m"; }
      if (cell.background >= 0) { line += "\033[48;5;" + std::to_string(cell.background) + "m"; }
    }
    current = cell;
    line += cell.glyph;
  }
  if (colored && !current.SameColors({})) { line += "\033[0m"; }
  if (!colored) { line.erase(line.find_last_not_of(' ') + 1); }
  return line;
}

std::string Heading(int diblock) {
  std::string ports;
  for (int ten = 0; ten <= 60; ten += 10) {
    std::string number = std::to_string(ten);
    if (ten < 60) { number.resize(10, ' '); }
    ports += number;
  }
  std::string label = "diblock " + std::to_string(diblock);
  label.resize(12, ' ');
  return label + ports + '\n';
}

std::string LegendLine(const Cell& cell, bool colored, const std::string& meaning, int count) {
  // A glyph that is a blank shall still be seen to stand there.
  const std::string glyph = cell.glyph == ' ' ? "blank" : Drawn({cell}, colored) + "    ";
  return "  " + glyph + "  " + meaning + ": " + std::to_string(count) + '\n';
}

std::string ScaleLegend(const BoardMap& map, const ColorScale& scale, bool colored) {
  std::array<int, kSteps> counts{};
  int below = 0;
  int above = 0;
  for (const auto& board : map.boards) {
    if (!board.IsGood()) { continue; }
    if (board.value < scale.low) {
      ++below;
    } else if (board.value > scale.high) {
      ++above;
    } else {
      ++counts.at(static_cast<std::size_t>(StepOf(scale, board.value)));
    }
  }
  const auto text = [&](double value) { return ValueText(map, value); };
  const std::string unit = UnitSuffix(map);
  const auto statistics = StatisticsOf(map);
  std::string legend;
  if (below > 0) {
    legend += LegendLine(BelowCell(scale), colored,
                         "below " + text(scale.low) + ", from " + text(statistics.least) + unit, below);
  }
  const double width = (scale.high - scale.low) / kSteps;
  for (int step = 0; step < kSteps; ++step) {
    const int count = counts.at(static_cast<std::size_t>(step));
    if (count == 0) { continue; }
    const double from = scale.low + step * width;
    const std::string range = width > 0 ? text(from) + " to " + text(from + width) : text(from);
    legend += LegendLine(StepCell(scale, step), colored, range + unit, count);
  }
  if (above > 0) {
    legend += LegendLine(AboveCell(scale), colored,
                         "above " + text(scale.high) + ", to " + text(statistics.most) + unit, above);
  }
  return legend;
}

std::string YesNoLegend(const BoardMap& map, bool colored) {
  const std::string name = map.quantity.name;
  if (!map.minus) { return LegendLine(YesCell(map, 1), colored, name, map.Count(Status::Known)); }
  std::string legend;
  const auto add = [&](double value, const std::string& meaning) {
    const int count = map.CountValue(value);
    if (count > 0) { legend += LegendLine(YesCell(map, value), colored, meaning, count); }
  };
  add(1, name + " in run " + std::to_string(map.run) + " only");
  add(-1, name + " in run " + std::to_string(*map.minus) + " only");
  add(0, "no change");
  return legend;
}

std::string Legend(const BoardMap& map, const ColorScale& scale, bool colored) {
  std::string legend = "boards\n";
  legend += map.IsYesNo() ? YesNoLegend(map, colored) : ScaleLegend(map, scale, colored);
  for (const auto status : StatusesOf(map)) {
    MapBoard board;
    board.status = status;
    legend += LegendLine(CellOf(map, scale, board), colored, ReasonName(map, status), map.Count(status));
  }
  const auto beyond = BoardsBeyondOf(map, scale);
  for (const auto& [boards, where] :
       {std::pair(&beyond.above, "above the scale"), std::pair(&beyond.below, "below the scale")}) {
    if (boards->empty()) { continue; }
    legend += std::string("\n") + where + '\n';
    for (const auto& line : LinesOf(map, *boards, kMostLines)) {
      legend += "  " + line + '\n';
    }
  }
  return legend;
}

std::string WithoutEndBlanks(const std::string& line) {
  return line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
}

std::string ReadoutRows(const BoardMap& map, const ColorScale& scale, bool colored) {
  std::string text;
  int diblock = 0;
  for (const auto& row : RowsOf(map)) {
    if (row.diblock != diblock) {
      text += (diblock == 0 ? "" : "\n") + Heading(row.diblock);
      diblock = row.diblock;
    }
    std::vector<Cell> cells;
    for (const auto* board = row.begin; board != row.end; ++board) {
      cells.resize(static_cast<std::size_t>(board->place.port));  // ports are not always without gaps
      cells.push_back(CellOf(map, scale, *board));
    }
    std::string label = "    DCM " + std::to_string(row.dcm);
    label.resize(12, ' ');
    text += WithoutEndBlanks(label + Drawn(cells, colored));
  }
  return text;
}

/// A diblock's planes of both views side by side; the module with the lowest cells at the bottom.
class DiBlockPlanes {
public:
  void Add(const MapBoard& board) {
    auto& view = views_.at(board.place.plane % 2U);
    const int plane = board.place.plane;
    view.first = view.boards.empty() ? plane : std::min(view.first, plane);
    view.last = std::max(view.last, plane);
    view.boards[{board.place.module, plane}] = &board;
    modules_ = std::max(modules_, board.place.module + 1);
  }

  std::string Draw(const BoardMap& map, const ColorScale& scale, bool colored) const {
    std::string text = "diblock " + std::to_string(views_[0].AnyBoard(views_[1]).place.diblock);
    text.resize(kLabel, ' ');
    for (const auto& view : views_) {
      std::string planes = std::string("view ") + ViewOfPlane(view.first) + ", planes " +
                           std::to_string(view.first) + " to " + std::to_string(view.last);
      planes.resize(kWidth + kGap, ' ');
      text += planes;
    }
    text = WithoutEndBlanks(text);
    for (int module = modules_ - 1; module >= 0; --module) {
      std::string line = "  cell " + std::to_string(module * arrays::kPixels);
      line.resize(kLabel, ' ');
      for (const auto& view : views_) {
        auto cells = view.Line(map, scale, module);
        // As many blanks as keep the views apart, counted before colours make the text longer.
        const std::size_t blanks = kWidth + kGap - std::min(cells.size(), kWidth);
        const std::size_t width = std::max(cells.size(), kWidth) + kGap;
        line += Drawn(cells, colored);
        if (colored) {
          line.append(blanks, ' ');
        } else {
          line.resize(std::max(line.size(), kLabel + (&view == views_.data() ? 1U : 2U) * width), ' ');
        }
      }
      text += WithoutEndBlanks(line);
    }
    return text;
  }

private:
  static constexpr std::size_t kLabel = 12;
  static constexpr std::size_t kWidth = 32;  // planes of one view in a diblock
  static constexpr std::size_t kGap = 4;

  struct PlanesOfView {
    int first = 0;
    int last = 0;
    std::map<std::pair<int, int>, const MapBoard*> boards;  ///< by module and plane

    std::vector<Cell> Line(const BoardMap& map, const ColorScale& scale, int module) const {
      std::vector<Cell> cells;
      for (int plane = first; plane <= last; plane += 2) {
        const auto found = boards.find({module, plane});
        cells.push_back(found == boards.end() ? Cell() : CellOf(map, scale, *found->second));
      }
      return cells;
    }
    const MapBoard& AnyBoard(const PlanesOfView& other) const {
      return *(boards.empty() ? other : *this).boards.begin()->second;
    }
  };
  std::array<PlanesOfView, 2> views_;
  int modules_ = 0;
};

std::string GeometryRows(const BoardMap& map, const ColorScale& scale, bool colored) {
  std::map<int, DiBlockPlanes> diblocks;
  for (const auto& board : map.boards) {
    diblocks[board.place.diblock].Add(board);
  }
  std::string text;
  for (const auto& [number, planes] : diblocks) {
    text += (text.empty() ? "" : "\n") + planes.Draw(map, scale, colored);
  }
  return text;
}

}  // namespace

std::string TextForm(const BoardMap& map, const MapStyle& style, bool colored) {
  const ColorScale scale = ScaleOf(map, style.scale);
  std::string text = TitleOf(map) + '\n';
  for (const auto& line : map.about) {
    text += Visible(line) + '\n';
  }
  text += SummaryOf(map) + "\n\n";
  text += style.view == View::Geometry ? GeometryRows(map, scale, colored) : ReadoutRows(map, scale, colored);
  return text + '\n' + Legend(map, scale, colored);
}

}  // namespace brio::tools
