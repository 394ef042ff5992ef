#include <algorithm>
#include <array>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"

namespace brio::tools {
namespace {

using arrays::Status;

constexpr int kSteps = 10;
// Terminals of 256 colours: the steps of the scale, dark to light, and what stands out from them.
constexpr std::array<int, kSteps> kStepColors{17, 18, 24, 31, 37, 72, 108, 149, 186, 228};
constexpr int kFirstLightStep = 5;
constexpr int kBlack = 16;
constexpr int kWhite = 231;
constexpr int kOutside = 208;  // orange

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

Cell StepCell(int step) {
  const auto index = static_cast<std::size_t>(step);
  return {static_cast<char>('0' + step), step < kFirstLightStep ? kWhite : kBlack, kStepColors.at(index)};
}

Cell CellOf(const BoardMap& map, const ColorScale& scale, const MapBoard& board) {
  switch (board.status) {
    case Status::Known: break;
    case Status::NotInRun: return {};
    case Status::Masked: return {'-', -1, -1};
    case Status::NotInstalled: return {'.', -1, -1};
    case Status::NotEnabled: return {'x', kBlack, kOutside};
    case Status::NeverMeasured: return {'u', kBlack, kOutside};
    case Status::LeftOut: return {'o', kBlack, kOutside};
    case Status::Replaced: return {'!', kBlack, kOutside};
    case Status::NotFinite: return {'n', kBlack, kOutside};
    default: return {'?', kBlack, kOutside};
  }
  if (map.IsYesNo()) { return {'#', kWhite, kStepColors[3]}; }
  if (board.value < scale.low) { return {'<', kWhite, kStepColors.front()}; }
  if (board.value > scale.high) { return {'>', kBlack, kStepColors.back()}; }
  return StepCell(StepOf(scale, board.value));
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
  std::string legend;
  if (below > 0) {
    legend +=
        LegendLine({'<', kWhite, kStepColors.front()}, colored, "below " + text(scale.low) + unit, below);
  }
  const double width = (scale.high - scale.low) / kSteps;
  for (int step = 0; step < kSteps; ++step) {
    const int count = counts.at(static_cast<std::size_t>(step));
    if (count == 0) { continue; }
    const double from = scale.low + step * width;
    const std::string range = width > 0 ? text(from) + " to " + text(from + width) : text(from);
    legend += LegendLine(StepCell(step), colored, range + unit, count);
  }
  if (above > 0) {
    legend +=
        LegendLine({'>', kBlack, kStepColors.back()}, colored, "above " + text(scale.high) + unit, above);
  }
  return legend;
}

std::string Legend(const BoardMap& map, const ColorScale& scale, bool colored) {
  std::string legend = "boards\n";
  if (map.IsYesNo()) {
    legend += LegendLine({'#', kWhite, kStepColors[3]}, colored, map.quantity.name, map.Count(Status::Known));
  } else {
    legend += ScaleLegend(map, scale, colored);
  }
  for (const auto status : StatusesOf(map)) {
    MapBoard board;
    board.status = status;
    legend += LegendLine(CellOf(map, scale, board), colored, StateName(status), map.Count(status));
  }
  return legend;
}

}  // namespace

std::string TextForm(const BoardMap& map, bool colored) {
  const ColorScale scale = ScaleOf(map);
  std::string text = TitleOf(map) + "\n\n";
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
    const std::string line = label + Drawn(cells, colored);
    text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
  }
  return text + '\n' + Legend(map, scale, colored);
}

}  // namespace brio::tools
