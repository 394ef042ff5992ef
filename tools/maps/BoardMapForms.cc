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

}  // namespace

std::string UnitSuffix(const BoardMap& map) {
  return map.quantity.unit[0] == '\0' ? "" : std::string(" ") + map.quantity.unit;
}

std::string TitledUnit(const BoardMap& map) {
  const std::string unit = map.quantity.unit;
  return map.quantity.title + (unit.empty() ? "" : " (" + unit + ")");
}

std::string TitleOf(const BoardMap& map) {
  const std::string run = "run " + std::to_string(map.run);
  return map.detector + ", " + run + (map.minus ? " minus run " + std::to_string(*map.minus) : "") + ": " +
         TitledUnit(map);
}

int ValueDigits(const BoardMap& map) {
  switch (map.quantity.quantity) {
    case Quantity::Installed:
    case Quantity::Enabled:
    case Quantity::Voltage: return 0;
    case Quantity::Threshold: return 1;
    default: return 2;
  }
}

std::string ValueText(const BoardMap& map, double value) {
  const std::string text = Fixed(value, ValueDigits(map));
  const bool isMore =
      map.minus && text.find_first_of("123456789") != std::string::npos && text.front() != '-';
  return isMore ? '+' + text : text;
}

std::string NoteOf(const BoardMap& map, int diblock) {
  std::optional<arrays::Status> all;
  for (const auto& board : map.boards) {
    if (board.place.diblock != diblock) { continue; }
    if (all.value_or(board.status) != board.status) { return {}; }
    all = board.status;
  }
  const bool isTold = all == arrays::Status::Masked || all == arrays::Status::NotInRun;
  return isTold ? ReasonName(map, *all) : "";
}

std::string ReasonName(const BoardMap& map, arrays::Status status) {
  const std::string name = StateName(status);
  if (!map.minus) { return name; }
  return status == arrays::Status::NotInRun ? "not in one of the runs" : name + " in one of the runs";
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
    } else if (board.HasValue()) {
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
    } else if (board.HasValue()) {
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
