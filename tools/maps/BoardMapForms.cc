#include "tools/maps/BoardMapForms.h"

#include "arrays/Records.h"

namespace brio::tools {
namespace {

/// The shortest text that reads back as the value, as which the databases hold it.
std::string Shown(const BoardMap& map, double value) {
  return map.quantity.quantity == Quantity::Threshold ? arrays::Shortest(value)
                                                      : arrays::Shortest(static_cast<float>(value));
}

/// That text as a number.
Json ShownValue(const BoardMap& map, double value) {
  if (map.quantity.quantity == Quantity::Voltage) { return static_cast<long long>(value); }
  return map.quantity.quantity == Quantity::Threshold ? value : ShortestValue(static_cast<float>(value));
}

bool HasValue(const MapBoard& board) { return board.IsGood() || board.status == arrays::Status::Replaced; }

}  // namespace

std::string UnitSuffix(const BoardMap& map) {
  return map.quantity.unit[0] == '\0' ? "" : std::string(" ") + map.quantity.unit;
}

std::string TitledUnit(const BoardMap& map) {
  const std::string unit = map.quantity.unit;
  return map.quantity.title + (unit.empty() ? "" : " (" + unit + ")");
}

std::string TitleOf(const BoardMap& map) {
  return map.detector + ", run " + std::to_string(map.run) + ": " + TitledUnit(map);
}

std::string ValueText(const BoardMap& map, double value) {
  switch (map.quantity.quantity) {
    case Quantity::Installed:
    case Quantity::Enabled:
    case Quantity::Voltage: return Fixed(value, 0);
    case Quantity::Threshold: return Fixed(value, 1);
    default: return Fixed(value, 2);
  }
}

std::vector<DCMRow> RowsOf(const BoardMap& map) {
  std::vector<DCMRow> rows;
  for (const auto& board : map.boards) {
    const auto& place = board.place;
    if (rows.empty() || rows.back().diblock != place.diblock || rows.back().dcm != place.dcm) {
      rows.push_back({place.diblock, place.dcm, &board, &board});
    }
    ++rows.back().end;
  }
  return rows;
}

std::string CsvForm(const BoardMap& map) {
  const bool isGain = map.quantity.quantity == Quantity::Gain;
  std::string text = "diblock,dcm,port,plane,module,state," + std::string(map.quantity.name) +
                     (isGain ? ",measured" : "") + '\n';
  for (const auto& board : map.boards) {
    const auto& place = board.place;
    for (const int number :
         {int{place.diblock}, int{place.dcm}, int{place.port}, int{place.plane}, int{place.module}}) {
      text += std::to_string(number) + ',';
    }
    text += StateName(board.status);
    text += ',';
    if (map.IsYesNo()) {
      text += board.IsGood() ? '1' : '0';
    } else if (HasValue(board)) {
      text += Shown(map, board.value);
    }
    if (isGain) { text += board.measured ? ',' + Shown(map, *board.measured) : ","; }
    text += '\n';
  }
  return text;
}

Json JsonForm(const BoardMap& map) {
  Json boards = Json::array();
  for (const auto& board : map.boards) {
    const auto& place = board.place;
    Json value;
    if (map.IsYesNo()) {
      value = board.IsGood();
    } else if (HasValue(board)) {
      value = ShownValue(map, board.value);
    }
    boards.push_back({{"diblock", place.diblock},
                      {"dcm", place.dcm},
                      {"port", place.port},
                      {"plane", place.plane},
                      {"module", place.module},
                      {"state", StateName(board.status)},
                      {"value", std::move(value)}});
    if (board.measured) { boards.back()["measured"] = ShownValue(map, *board.measured); }
  }
  return {{"detector", map.detector},
          {"run", map.run},
          {"quantity", map.quantity.name},
          {"unit", map.quantity.unit[0] == '\0' ? Json() : Json(map.quantity.unit)},
          {"boards", std::move(boards)}};
}

}  // namespace brio::tools
