#include "tools/report/PageData.h"

#include <algorithm>
#include <cmath>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"
#include "tools/report/PageMap.h"

namespace brio::tools {
namespace {

using arrays::BoardPlace;
using arrays::Status;

int DigitsOf(const BoardMap& map) {
  const std::string text = ValueText(map, 0);
  const auto point = text.find('.');
  return point == std::string::npos ? 0 : static_cast<int>(text.size() - point) - 1;
}

/// A value in steps of the last digit that maps show.
long Steps(const BoardMap& map, double value) {
  return std::lround(std::stod(ValueText(map, value)) * std::pow(10, DigitsOf(map)));
}

template <class Get>
Json NumbersOf(const std::vector<BoardPlace>& boards, const Get& get) {
  std::vector<int> numbers;
  numbers.reserve(boards.size());
  for (const auto& board : boards) {
    numbers.push_back(get(board));
  }
  return StepsOf(numbers);
}

Json QuantityOf(const BoardMap& map) {
  const ColorScale scale = ScaleOf(map);
  std::vector<long> steps;
  std::vector<int> statuses;
  Json measured = Json::object();
  // What lies beyond the scale is told by the values as they are, not as they are shown.
  Json beyond = Json::array();
  statuses.reserve(map.boards.size());
  for (std::size_t i = 0; i < map.boards.size(); ++i) {
    const auto& board = map.boards[i];
    statuses.push_back(static_cast<int>(board.status));
    if (board.measured) { measured[std::to_string(i)] = std::stod(ValueText(map, *board.measured)); }
    if (!board.IsGood() || map.IsYesNo()) { continue; }
    steps.push_back(Steps(map, board.value));
    if (!scale.Contains(board.value)) { beyond.push_back(i); }
  }
  const long least = steps.empty() ? 0 : *std::min_element(steps.begin(), steps.end());
  for (auto& value : steps) {
    value -= least;
  }
  return {{"name", map.quantity.name},
          {"unit", map.quantity.unit},
          {"yesNo", map.IsYesNo()},
          {"low", scale.low},
          {"high", scale.high},
          {"digits", DigitsOf(map)},
          {"least", least},
          {"values", steps},
          {"statuses", StepsOf(statuses)},
          {"measured", std::move(measured)},
          {"beyond", std::move(beyond)}};
}

Json ViewOf(const MapLayout& layout) {
  std::vector<int> columns;
  std::vector<int> rows;
  for (const auto& cell : layout.boards) {
    columns.push_back(cell.column);
    rows.push_back(cell.row);
  }
  return {{"name", ViewNames().at(static_cast<std::size_t>(layout.view))},
          {"cellWidth", layout.cellWidth},
          {"cellHeight", layout.cellHeight},
          {"left", pagemap::kLeft},
          {"top", pagemap::kTop},
          {"columns", StepsOf(columns)},
          {"rows", StepsOf(rows)}};
}

}  // namespace

Json StepsOf(const std::vector<int>& numbers) {
  Json steps = Json::array();
  for (std::size_t at = 0; at < numbers.size();) {
    const int step = at + 1 < numbers.size() ? numbers[at + 1] - numbers[at] : 0;
    std::size_t count = 1;
    while (at + count < numbers.size() && numbers[at + count] - numbers[at + count - 1] == step) {
      ++count;
    }
    steps.push_back(numbers[at]);
    steps.push_back(step);
    steps.push_back(count);
    at += count;
  }
  return steps;
}

Json PageData(const RunReport& report, const std::vector<MapLayout>& layouts) {
  const auto& boards = arrays::BoardsOf(report.Boards().detector);
  Json data{{"boards", boards.size()},
            {"diblocks", NumbersOf(boards, [](const BoardPlace& place) { return int{place.diblock}; })},
            {"dcms", NumbersOf(boards, [](const BoardPlace& place) { return int{place.dcm}; })},
            {"ports", NumbersOf(boards, [](const BoardPlace& place) { return int{place.port}; })},
            {"planes", NumbersOf(boards, [](const BoardPlace& place) { return int{place.plane}; })},
            {"modules", NumbersOf(boards, [](const BoardPlace& place) { return int{place.module}; })},
            {"colors", pagemap::Colors()},
            {"statuses", Json::array()},
            {"patterns", Json::array()},
            {"quantities", Json::array()},
            {"views", Json::array()}};
  for (int i = 0; i < arrays::kStatuses; ++i) {
    const auto status = static_cast<Status>(i);
    data["statuses"].push_back(StateName(status));
    data["patterns"].push_back(pagemap::PatternOf(status));
  }
  for (const auto& map : report.maps) {
    data["quantities"].push_back(QuantityOf(map));
  }
  for (const auto& layout : layouts) {
    data["views"].push_back(ViewOf(layout));
  }
  return data;
}

}  // namespace brio::tools
