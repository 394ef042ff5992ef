#include "tools/maps/MapStatistics.h"

#include <algorithm>
#include <cmath>

#include "tools/maps/BoardMapForms.h"

namespace brio::tools {
namespace {

using arrays::Status;

std::string DCMOf(const MapBoard& board) {
  return std::to_string(board.place.diblock) + '/' + std::to_string(board.place.dcm);
}

std::string YesNoSummary(const BoardMap& map) {
  const std::string name = map.quantity.name;
  if (map.minus) {
    return CountedIn(map, static_cast<std::size_t>(map.CountValue(1))) + ' ' + name + " in run " +
           std::to_string(map.run) + " only, " + std::to_string(map.CountValue(-1)) + " in run " +
           std::to_string(*map.minus) + " only";
  }
  return std::to_string(map.Count(Status::Known)) + " of " + CountedIn(map, map.boards.size()) + ' ' + name;
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
                                  [&](const MapBoard* other) { return DCMOf(*other) != DCMOf(**board); });
    if (end - board >= kMany) {
      const auto [least, most] = std::minmax_element(
          board, end, [](const MapBoard* a, const MapBoard* b) { return a->value < b->value; });
      const std::string from = ValueText(map, (*least)->value);
      const std::string to = ValueText(map, (*most)->value);
      lines.push_back(DCMOf(**board) + ": " + CountedIn(map, static_cast<std::size_t>(end - board)) + ", " +
                      (from == to ? from : from + " to " + to));
      named.push_back(end - board);
    } else {
      for (auto each = board; each != end; ++each) {
        lines.push_back(PlaceOf(map, **each) + ": " + ValueText(map, (*each)->value));
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
  if (statistics.count == 0) { return map.isOfChannels ? "no channel has a value" : "no board has a value"; }
  const int digits = ValueDigits(map) + 1;
  const std::string unit = UnitSuffix(map);
  return CountedIn(map, statistics.count) + ": mean " + Fixed(statistics.mean, digits) + unit + ", spread " +
         Fixed(statistics.spread, digits) + unit + " (standard deviation), from " +
         ValueText(map, statistics.least) + " to " + ValueText(map, statistics.most) + unit;
}

}  // namespace brio::tools
