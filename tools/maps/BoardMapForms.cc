#include "tools/maps/BoardMapForms.h"

#include <cmath>

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
  if (map.isOfChannels && map.quantity.quantity == Quantity::Threshold) {
    return static_cast<long long>(value);
  }
  if (map.quantity.quantity == Quantity::Voltage) { return static_cast<long long>(value); }
  return map.quantity.quantity == Quantity::Threshold ? value : ShortestValue(static_cast<float>(value));
}

/// Where a board is, or a channel, as tables name it.
std::vector<std::pair<const char*, int>> PlaceFields(const BoardMap& map, const MapBoard& board) {
  const auto& place = board.place;
  std::vector<std::pair<const char*, int>> fields{
      {"diblock", place.diblock}, {"dcm", place.dcm}, {"port", place.port}};
  if (map.isOfChannels) { fields.emplace_back("pixel", board.pixel); }
  fields.emplace_back("plane", place.plane);
  fields.emplace_back(map.isOfChannels ? "cell" : "module", map.isOfChannels ? board.cell : place.module);
  return fields;
}

std::string CsvValue(const BoardMap& map, const MapValue& value) {
  if (map.IsYesNo()) { return value.IsGood() ? "1" : "0"; }
  return value.HasValue() ? Shown(map, value.value) : "";
}

Json JsonValue(const BoardMap& map, const MapValue& value) {
  if (map.IsYesNo()) { return value.IsGood(); }
  return value.HasValue() ? ShownValue(map, value.value) : Json();
}

/// To a hundredth of a thousandth: what is behind that comes from taking off.
double DifferenceOf(const MapBoard& board) {
  constexpr double kSteps = 1e5;
  return std::round(board.value * kSteps) / kSteps + 0.0;
}

}  // namespace

std::string UnitSuffix(const BoardMap& map) {
  return map.quantity.unit[0] == '\0' ? "" : std::string(" ") + map.quantity.unit;
}

std::string TitledUnit(const BoardMap& map) {
  const std::string unit = map.quantity.unit;
  const std::string title = map.isOfChannels ? map.quantity.channelTitle : map.quantity.title;
  return title + (unit.empty() ? "" : " (" + unit + ")");
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
    // Of a board it is a mean, whose differences are small.
    case Quantity::Threshold: return map.isOfChannels ? 0 : map.minus ? 2 : 1;
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
  std::string name = StateName(status);
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

std::string CountedIn(const BoardMap& map, std::size_t number) {
  return Counted(number, map.isOfChannels ? "channel" : "board");
}

std::string PlaceOf(const BoardMap& map, const MapBoard& board) {
  const auto& place = board.place;
  std::string text =
      std::to_string(place.diblock) + '/' + std::to_string(place.dcm) + '/' + std::to_string(place.port);
  if (map.isOfChannels) { text += '/' + std::to_string(board.pixel); }
  return text;
}

std::string CsvForm(const BoardMap& map) {
  const std::string name = map.quantity.name;
  const bool hasMeasured = map.quantity.quantity == Quantity::Gain && !map.minus;
  std::string text;
  for (const auto& [label, number] : PlaceFields(map, MapBoard())) {
    text += std::string(label) + ',';
  }
  text += map.minus ? "state,minus_state," + name + ",minus_" + name + ",difference" : "state," + name;
  text += hasMeasured ? ",measured\n" : "\n";
  for (const auto& board : map.boards) {
    for (const auto& [label, number] : PlaceFields(map, board)) {
      text += std::to_string(number) + ',';
    }
    if (map.minus) {
      text += std::string(StateName(board.ofRun->status)) + ',' + StateName(board.ofMinus->status) + ',' +
              CsvValue(map, *board.ofRun) + ',' + CsvValue(map, *board.ofMinus) + ',';
      if (board.IsGood()) { text += arrays::Shortest(DifferenceOf(board)); }
    } else {
      text += std::string(StateName(board.status)) + ',' + CsvValue(map, board);
    }
    if (hasMeasured) { text += board.measured ? ',' + Shown(map, *board.measured) : ","; }
    text += '\n';
  }
  return text;
}

std::string JsonForm(const BoardMap& map) {
  Json head{{"detector", map.detector}, {"run", map.run}};
  if (map.minus) { head["minus"] = *map.minus; }
  head["quantity"] = map.quantity.name;
  head["unit"] = map.quantity.unit[0] == '\0' ? Json() : Json(map.quantity.unit);
  std::string text = JsonText(head, -1);
  text.back() = ',';  // the list comes in place of the brace
  text += map.isOfChannels ? "\"channels\":[" : "\"boards\":[";
  // One after the other: as one object all channels would take several hundred MB.
  for (const auto& board : map.boards) {
    Json object = Json::object();
    for (const auto& [label, number] : PlaceFields(map, board)) {
      object[label] = number;
    }
    if (map.minus) {
      object["state"] = StateName(board.ofRun->status);
      object["minus_state"] = StateName(board.ofMinus->status);
      object["value"] = JsonValue(map, *board.ofRun);
      object["minus_value"] = JsonValue(map, *board.ofMinus);
      object["difference"] = board.IsGood() ? Json(DifferenceOf(board)) : Json();
    } else {
      object["state"] = StateName(board.status);
      object["value"] = JsonValue(map, board);
      if (board.measured) { object["measured"] = ShownValue(map, *board.measured); }
    }
    if (&board != map.boards.data()) { text += ','; }
    text += JsonText(object, -1);
  }
  return text + "]}";
}

}  // namespace brio::tools
