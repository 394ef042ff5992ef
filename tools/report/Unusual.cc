#include "tools/report/Unusual.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <utility>

#include "tools/maps/BoardMapForms.h"
#include "tools/maps/ColorScale.h"
#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

using arrays::Board;
using arrays::Status;

// So many boards of a DCM are told of as one place; so many places at most are single boards.
constexpr std::size_t kMany = 8;
constexpr std::size_t kMostSingle = 100;
// A longer list of ports tells nobody anything.
constexpr std::size_t kLongPorts = 40;

using DCMKey = std::pair<unsigned int, unsigned int>;

DCMKey KeyOf(const arrays::BoardPlace& place) { return {place.diblock, place.dcm}; }

/// "1 board is", "2 boards are"
std::string AreBoards(std::size_t count) { return Counted(count, "board") + (count == 1 ? " is" : " are"); }

std::vector<UnusualBoard> Chosen(const arrays::Boards& boards,
                                 const std::function<bool(const Board&)>& test) {
  std::vector<UnusualBoard> chosen;
  for (const auto& board : boards.boards) {
    if (test(board)) { chosen.push_back({board.place, {}}); }
  }
  return chosen;
}

class Kinds {
public:
  explicit Kinds(const arrays::Boards& boards) : boards_(boards) {}

  void Add(const std::string& title, const std::string& quantity, const std::vector<UnusualBoard>& chosen,
           const std::string& note = "") {
    if (chosen.empty()) { return; }
    kinds.push_back({title, note, quantity, chosen.size(), PlacesOf(chosen, boards_)});
  }

  /// Of changes nearly everywhere no place is told.
  void AddChange(const std::string& title, const std::string& quantity,
                 const std::vector<UnusualBoard>& chosen, const std::string& note = "") {
    if (chosen.size() <= boards_.boards.size() / 2) {
      Add(title, quantity, chosen, note);
    } else {
      kinds.push_back({title,
                       note + (note.empty() ? "" : "; ") + "on more than half of all boards",
                       quantity,
                       chosen.size(),
                       {}});
    }
  }

  std::vector<UnusualKind> kinds;

private:
  const arrays::Boards& boards_;
};

/// The farthest first.
std::vector<UnusualBoard> Outliers(const BoardMap& map, const ColorScale& scale) {
  std::vector<const MapBoard*> beyond;
  for (const auto& board : map.boards) {
    if (board.IsGood() && !scale.Contains(board.value)) { beyond.push_back(&board); }
  }
  const auto distance = [&](const MapBoard* board) {
    return std::max(scale.low - board->value, board->value - scale.high);
  };
  std::stable_sort(beyond.begin(), beyond.end(),
                   [&](const auto* a, const auto* b) { return distance(a) > distance(b); });
  std::vector<UnusualBoard> boards;
  boards.reserve(beyond.size());
  for (const auto* board : beyond) {
    boards.push_back({board->place, ValueText(map, board->value) + UnitSuffix(map)});
  }
  return boards;
}

void AddQuantity(const BoardMap& map, Kinds& kinds) {
  const std::string name = map.quantity.name;
  const ColorScale scale = ScaleOf(map);
  const auto outliers = Outliers(map, scale);
  kinds.Add(
      Counted(outliers.size(), "board") + (outliers.size() == 1 ? " has a " : " have a ") + name +
          " outside " + ValueText(map, scale.low) + " to " + ValueText(map, scale.high) + UnitSuffix(map),
      name, outliers, "more than 1.5 times the width of the middle half of all values beyond that half");
  for (const auto status :
       {Status::Replaced, Status::LeftOut, Status::NeverMeasured, Status::NotRecorded, Status::NotFinite}) {
    std::vector<UnusualBoard> boards;
    for (const auto& board : map.boards) {
      if (board.status != status) { continue; }
      boards.push_back({board.place, board.measured
                                         ? "measured " + ValueText(map, *board.measured) + UnitSuffix(map)
                                         : std::string()});
    }
    kinds.Add(Counted(boards.size(), "board") + (boards.size() == 1 ? ": its " : ": their ") + name + " is " +
                  arrays::NameOf(status),
              name, boards, arrays::ReasonOf(status));
  }
}

arrays::BoardPlace PlaceIn(const std::string& board) {
  arrays::BoardPlace place;
  std::size_t at = 0;
  for (auto* part : {&place.diblock, &place.dcm, &place.port}) {
    if (at >= board.size()) { break; }
    std::size_t length = 0;
    *part = static_cast<std::uint8_t>(std::stoi(board.substr(at), &length));
    at += length + 1;
  }
  return place;
}

std::vector<UnusualBoard> BoardsNamed(const std::vector<std::string>& names) {
  std::vector<UnusualBoard> boards;
  boards.reserve(names.size());
  for (const auto& name : names) {
    boards.push_back({PlaceIn(name), {}});
  }
  return boards;
}

/// All boards of DCMs that are named "8/3".
std::vector<UnusualBoard> BoardsOfDCMs(const std::vector<std::string>& names, const arrays::Boards& all) {
  std::map<DCMKey, bool> wanted;
  for (const auto& name : names) {
    wanted[KeyOf(PlaceIn(name))] = true;
  }
  return Chosen(all, [&](const Board& board) { return wanted.count(KeyOf(board.place)) > 0; });
}

std::vector<UnusualBoard> BoardsOf(const std::vector<ChangedThreshold>& thresholds) {
  std::vector<UnusualBoard> boards;
  std::size_t pixels = 0;
  for (const auto& threshold : thresholds) {
    const arrays::BoardPlace place{static_cast<std::uint8_t>(threshold.diblock),
                                   static_cast<std::uint8_t>(threshold.dcm),
                                   static_cast<std::uint8_t>(threshold.port), 0, 0};
    const bool isSame = !boards.empty() && KeyOf(boards.back().place) == KeyOf(place) &&
                        boards.back().place.port == place.port;
    if (!isSame) {
      boards.push_back({place, {}});
      pixels = 0;
    }
    boards.back().text = Counted(++pixels, "pixel");
  }
  return boards;
}

}  // namespace

std::string UnusualPlace::Anchor() const {
  if (dcm == 0) { return "diblock-" + std::to_string(diblock); }
  const std::string name = std::to_string(diblock) + '-' + std::to_string(dcm);
  return port ? "board-" + name + '-' + std::to_string(*port) : "dcm-" + name;
}

std::vector<UnusualPlace> PlacesOf(const std::vector<UnusualBoard>& boards, const arrays::Boards& all) {
  std::map<unsigned int, std::size_t> ofDiBlock;
  std::map<unsigned int, std::size_t> chosenOfDiBlock;
  std::map<DCMKey, std::vector<int>> ports;
  for (const auto& board : all.boards) {
    ++ofDiBlock[board.place.diblock];
  }
  for (const auto& board : boards) {
    ++chosenOfDiBlock[board.place.diblock];
    ports[KeyOf(board.place)].push_back(board.place.port);
  }
  std::size_t single = 0;
  for (const auto& [key, list] : ports) {
    single += list.size() < kMany ? list.size() : 0;
  }
  const std::size_t many = single > kMostSingle ? 1 : kMany;
  std::vector<UnusualPlace> places;
  std::map<std::pair<unsigned int, unsigned int>, bool> told;
  for (const auto& [place, text] : boards) {
    const unsigned int diblock = place.diblock;
    const unsigned int dcm = place.dcm;
    if (ofDiBlock[diblock] == chosenOfDiBlock[diblock]) {
      if (!std::exchange(told[{diblock, 0}], true)) {
        places.push_back({"diblock " + std::to_string(diblock), "all " + Counted(ofDiBlock[diblock], "board"),
                          diblock, 0, std::nullopt});
      }
      continue;
    }
    const std::string name = std::to_string(diblock) + '/' + std::to_string(dcm);
    auto& list = ports[{diblock, dcm}];
    if (list.size() < many || list.size() == 1) {
      places.push_back({name + '/' + std::to_string(place.port), text, diblock, dcm, int{place.port}});
    } else if (!std::exchange(told[{diblock, dcm}], true)) {
      std::sort(list.begin(), list.end());
      const std::string which = ", ports " + Ranges(list);
      places.push_back({name, Counted(list.size(), "board") + (which.size() > kLongPorts ? "" : which),
                        diblock, dcm, std::nullopt});
    }
  }
  return places;
}

std::vector<UnusualKind> UnusualOf(const arrays::Boards& boards, const std::vector<BoardMap>& maps,
                                   const std::optional<int>& goodDiBlocks) {
  Kinds kinds(boards);
  if (goodDiBlocks) {
    kinds.Add("Not all diblocks are good", "installed",
              Chosen(boards,
                     [&](const Board& board) {
                       return board.presence == Status::Known &&
                              (static_cast<unsigned int>(*goodDiBlocks) >> (board.place.diblock - 1U) & 1U) ==
                                  0;
                     }),
              "by the good-diblock mask of the data-quality group");
  }
  const auto absent = Chosen(boards, [](const Board& board) { return board.presence == Status::NotInRun; });
  kinds.Add(AreBoards(absent.size()) + " not in the run", "installed", absent,
            "their diblock or DCM took no part in it");
  const auto masked = Chosen(boards, [](const Board& board) { return board.presence == Status::Masked; });
  kinds.Add(AreBoards(masked.size()) + " masked", "installed", masked,
            "the mask in use leaves their diblocks out");
  const auto missing = Chosen(boards, [](const Board& board) {
    return board.presence == Status::Known && board.installed.IsKnown() && !board.installed.value;
  });
  kinds.Add(AreBoards(missing.size()) + " not installed", "installed", missing,
            "a DCM in the run has a place for them");
  const auto off = Chosen(boards, [](const Board& board) {
    return board.presence == Status::Known && board.installed.IsKnown() && board.installed.value &&
           board.enabled.IsKnown() && !board.enabled.value;
  });
  kinds.Add(AreBoards(off.size()) + " not enabled", "enabled", off,
            "they are installed, and the DAQ configuration leaves them out");
  for (const auto& map : maps) {
    if (!map.IsYesNo()) { AddQuantity(map, kinds); }
  }
  return std::move(kinds.kinds);
}

std::vector<UnusualKind> ChangesOf(const RunDifference& difference, const arrays::Boards& boards) {
  Kinds kinds(boards);
  const auto add = [&](const std::string& what, const std::string& how, const std::string& quantity,
                       std::size_t count, const std::vector<UnusualBoard>& chosen) {
    kinds.Add(Counted(count, what) + (count == 1 ? " is " : " are ") + how, quantity, chosen);
  };
  const auto& dcms = difference.dcms;
  add("DCM", "gone", "installed", dcms.onlyBefore.size(), BoardsOfDCMs(dcms.onlyBefore, boards));
  add("DCM", "new", "installed", dcms.onlyAfter.size(), BoardsOfDCMs(dcms.onlyAfter, boards));
  const auto& installed = difference.installed;
  add("board", "not installed any more", "installed", installed.onlyBefore.size(),
      BoardsNamed(installed.onlyBefore));
  add("board", "newly installed", "installed", installed.onlyAfter.size(), BoardsNamed(installed.onlyAfter));
  const auto& enabled = difference.enabled;
  add("board", "not enabled any more", "enabled", enabled.onlyBefore.size(), BoardsNamed(enabled.onlyBefore));
  add("board", "newly enabled", "enabled", enabled.onlyAfter.size(), BoardsNamed(enabled.onlyAfter));
  if (!difference.notCompared.empty()) { return std::move(kinds.kinds); }
  kinds.AddChange("thresholds: " + std::to_string(difference.thresholds.size()) + " of " +
                      std::to_string(difference.comparedThresholds) + " differ",
                  "threshold", BoardsOf(difference.thresholds));
  for (const auto& quantity : difference.quantities) {
    std::vector<UnusualBoard> changed;
    for (const auto& value : quantity.changed) {
      changed.push_back({PlaceIn(value.board), value.before + " → " + value.after});
    }
    const std::string key = quantity.key;
    const std::string shown = key == "measured_gains" ? "gain"
                              : key == "voltages"     ? "voltage"
                              : key == "temperatures" ? "temperature"
                                                      : "installed";
    kinds.AddChange(std::string(quantity.name) + ": " + std::to_string(changed.size()) + " of " +
                        std::to_string(quantity.compared) + " boards differ",
                    shown, changed,
                    quantity.knownInOneOnly > 0
                        ? std::to_string(quantity.knownInOneOnly) + " are known in one run only"
                        : "");
  }
  return std::move(kinds.kinds);
}

}  // namespace brio::tools
