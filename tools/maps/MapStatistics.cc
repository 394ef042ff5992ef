#include "tools/maps/MapStatistics.h"

#include <algorithm>
#include <cmath>

#include "tools/maps/BoardMapForms.h"

namespace brio::tools {
namespace {

using arrays::Status;

std::string PlaceOf(const MapBoard& board) {
  return std::to_string(board.place.diblock) + '/' + std::to_string(board.place.dcm);
}

std::string YesNoSummary(const BoardMap& map) {
  const std::string name = map.quantity.name;
  if (map.minus) {
    return Counted(static_cast<std::size_t>(map.CountValue(1)), "board") + ' ' + name + " in run " +
           std::to_string(map.run) + " only, " + std::to_string(map.CountValue(-1)) + " in run " +
           std::to_string(*map.minus) + " only";
  }
  return std::to_string(map.Count(Status::Known)) + " of " + Counted(map.boards.size(), "board") + ' ' + name;
}

}  // namespace

MapStatistics StatisticsOf(const std::vector<double>& values) {
  MapStatistics statistics;
  statistics.count = values.size();
  if (values.empty()) { return statistics; }
  const auto count = static_cast<double>(values.size());
  for (const double value : values) {
    statistics.mean += value / count;
  }
  double squares = 0;
  for (const double value : values) {
    squares += (value - statistics.mean) * (value - statistics.mean);
  }
  statistics.spread = std::sqrt(squares / count);
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  statistics.least = *least;
  statistics.most = *most;
  return statistics;
}

MapStatistics StatisticsOf(const BoardMap& map) {
  std::vector<double> values;
  for (const auto& board : map.boards) {
    if (board.IsGood()) { values.push_back(board.value); }
  }
  return StatisticsOf(values);
}

BoardsBeyond BoardsBeyondOf(const BoardMap& map, const ColorScale& scale) {
  BoardsBeyond beyond;
  if (map.IsYesNo()) { return beyond; }
  for (const auto& board : map.boards) {
    if (!board.IsGood() || scale.Contains(board.value)) { continue; }
    (board.value < scale.low ? beyond.below : beyond.above).push_back(&board);
  }
  return beyond;
}

std::vector<std::string> LinesOf(const BoardMap& map, const std::vector<const MapBoard*>& boards,
                                 std::size_t atMost) {
  constexpr std::ptrdiff_t kMany = 4;
  std::vector<std::string> lines;
  std::vector<std::ptrdiff_t> named;  // boards that stand in each line
  for (auto board = boards.begin(); board != boards.end();) {
    const auto end = std::find_if(board, boards.end(),
                                  [&](const MapBoard* other) { return PlaceOf(*other) != PlaceOf(**board); });
    const std::string unit = UnitSuffix(map);
    if (end - board >= kMany) {
      const auto [least, most] = std::minmax_element(
          board, end, [](const MapBoard* a, const MapBoard* b) { return a->value < b->value; });
      lines.push_back(PlaceOf(**board) + ": " + std::to_string(end - board) + " boards, " +
                      ValueText(map, (*least)->value) + " to " + ValueText(map, (*most)->value) + unit);
      named.push_back(end - board);
    } else {
      for (auto each = board; each != end; ++each) {
        lines.push_back(PlaceOf(**each) + '/' + std::to_string((*each)->place.port) + ": " +
                        ValueText(map, (*each)->value) + unit);
        named.push_back(1);
      }
    }
    board = end;
  }
  if (lines.size() > atMost && atMost > 0) {
    std::ptrdiff_t rest = 0;
    for (auto i = atMost - 1; i < named.size(); ++i) {
      rest += named[i];
    }
    lines.resize(atMost - 1);
    lines.push_back("and " + std::to_string(rest) + " more");
  }
  return lines;
}

std::string SummaryOf(const BoardMap& map) {
  if (map.IsYesNo()) { return YesNoSummary(map); }
  const auto statistics = StatisticsOf(map);
  if (statistics.count == 0) { return "no board has a value"; }
  const int digits = ValueDigits(map) + 1;
  const std::string unit = UnitSuffix(map);
  return Counted(statistics.count, "board") + ": mean " + Fixed(statistics.mean, digits) + unit +
         ", spread " + Fixed(statistics.spread, digits) + unit + " (standard deviation), from " +
         ValueText(map, statistics.least) + " to " + ValueText(map, statistics.most) + unit;
}

}  // namespace brio::tools
