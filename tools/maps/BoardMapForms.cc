#include "tools/maps/BoardMapForms.h"

#include "RunHistory/DetInfo.h"
#include "experiment/DAQChannelMap.h"

namespace brio::tools {
namespace {

constexpr unsigned int kPixels = 32;

/// The plane and the module in it that a board reads out.
struct Module {
  unsigned int plane;
  unsigned int module;
};

Module ModuleOf(const BoardMap& map, const Board& board) {
  const int detector = briodaq::cnv::DetInfo::GetId(map.detector);
  const auto& channels = *daqchannelmap::DAQChannelMap::getInstance(detector);
  const auto logical = channels.getLogicalChannel(
      channels.encodeDChan(detector, static_cast<unsigned int>(board.diblock),
                           static_cast<unsigned int>(board.dcm), static_cast<unsigned int>(board.port), 0));
  return {channels.getPlane(logical), channels.getCell(logical) / kPixels};
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
    if (rows.empty() || rows.back().diblock != board.diblock || rows.back().dcm != board.dcm) {
      rows.push_back({board.diblock, board.dcm, &board, &board});
    }
    ++rows.back().end;
  }
  return rows;
}

std::string CsvForm(const BoardMap& map) {
  std::string text = "diblock,dcm,port,plane,module,state," + std::string(map.quantity.name) + '\n';
  for (const auto& board : map.boards) {
    const Module module = ModuleOf(map, board);
    for (const auto number : {board.diblock, board.dcm, board.port, static_cast<int>(module.plane),
                              static_cast<int>(module.module)}) {
      text += std::to_string(number) + ',';
    }
    text += NameOf(board.state);
    text += ',';
    if (board.state == BoardState::Good) {
      text += JsonText(board.value);
    } else if (map.IsYesNo()) {
      text += '0';
    }
    text += '\n';
  }
  return text;
}

Json JsonForm(const BoardMap& map) {
  Json boards = Json::array();
  for (const auto& board : map.boards) {
    const Module module = ModuleOf(map, board);
    Json value;
    if (map.IsYesNo()) {
      value = board.state == BoardState::Good;
    } else if (board.state == BoardState::Good) {
      value = board.value;
    }
    boards.push_back({{"diblock", board.diblock},
                      {"dcm", board.dcm},
                      {"port", board.port},
                      {"plane", module.plane},
                      {"module", module.module},
                      {"state", NameOf(board.state)},
                      {"value", std::move(value)}});
  }
  return {{"detector", map.detector},
          {"run", map.run},
          {"quantity", map.quantity.name},
          {"unit", map.quantity.unit[0] == '\0' ? Json() : Json(map.quantity.unit)},
          {"boards", std::move(boards)}};
}

}  // namespace brio::tools
