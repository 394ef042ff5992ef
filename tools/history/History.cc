#include "tools/history/History.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <tuple>

#include "arrays/Layout.h"
#include "tools/shared/ChannelFacts.h"
#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

using arrays::Status;

/// Numbers between slashes; nothing when there are not so many.
std::optional<std::vector<unsigned int>> NumbersIn(const std::string& text, std::size_t count) {
  std::vector<unsigned int> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    unsigned int number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc()) { return std::nullopt; }
    numbers.push_back(number);
    if (stop == end) { break; }
    if (*stop != '/') { return std::nullopt; }
    at = stop + 1;
  }
  return numbers.size() == count ? std::optional(numbers) : std::nullopt;
}

bool IsYesNo(const QuantityInfo& quantity) {
  return quantity.quantity == Quantity::Installed || quantity.quantity == Quantity::Enabled;
}

template <class T>
void Set(HistoryPoint& point, const Fact<T>& fact) {
  point.status = arrays::NameOf(fact.status);
  if (fact.value && fact.status == Status::Known) {
    point.value = RoundedValue(static_cast<double>(*fact.value));
  }
}

HistoryPoint OfChannel(brio::dbi::RunHistory& history, const LoadedParts& parts, Quantity quantity,
                       const ChannelAddress& address) {
  const ChannelFacts facts = AskAbout(history, parts, address);
  HistoryPoint point;
  switch (quantity) {
    case Quantity::Installed: Set(point, facts.installed); break;
    case Quantity::Enabled: Set(point, facts.enabled); break;
    case Quantity::Threshold: Set(point, facts.threshold); break;
    case Quantity::Gain:
      Set(point, facts.gain);
      if (!point.value && facts.measuredGain) {
        point.measured = RoundedValue(ShortestValue(*facts.measuredGain));
      }
      break;
    case Quantity::Voltage: Set(point, facts.voltage); break;
    case Quantity::Temperature: Set(point, facts.temperature); break;
  }
  return point;
}

HistoryPoint OfBoard(const MapBoard& board, bool isYesNo) {
  HistoryPoint point;
  point.status = arrays::NameOf(board.status);
  if (board.IsGood()) {
    point.value = RoundedValue(board.value);
  } else if (isYesNo && (board.status == Status::NotInstalled || board.status == Status::NotEnabled)) {
    point.value = 0;
    point.status = arrays::NameOf(Status::Known);
  }
  if (board.measured) { point.measured = RoundedValue(*board.measured); }
  return point;
}

/// The mean of what is known, or how many boards are; why there is nothing, if all have the same reason.
bool CouldNotBeRead(const MapBoard& board) {
  return board.status == Status::RunNotLoaded || board.status == Status::HardwareNotLoaded ||
         board.status == Status::ConfigurationNotLoaded || board.status == Status::SettingsNotLoaded;
}

HistoryPoint OfMany(const std::vector<MapBoard>& boards, bool isYesNo) {
  HistoryPoint point;
  // Boards that are not installed are not enabled either, but their number is no count of the others.
  const auto unread = std::find_if(boards.begin(), boards.end(), CouldNotBeRead);
  if (isYesNo && unread != boards.end()) {
    point.status = arrays::NameOf(unread->status);
    return point;
  }
  double sum = 0;
  bool isAnswered = false;
  bool isSame = true;
  for (const auto& board : boards) {
    isSame = isSame && board.status == boards.front().status;
    isAnswered = isAnswered || board.IsGood() || OfBoard(board, isYesNo).value;
    if (!board.IsGood()) { continue; }
    sum += board.value;
    ++point.boards;
  }
  if (isAnswered) {
    point.value =
        isYesNo ? static_cast<double>(point.boards) : RoundedValue(sum / static_cast<double>(point.boards));
    point.status = arrays::NameOf(Status::Known);
  } else {
    point.status =
        isSame && !boards.empty() ? arrays::NameOf(boards.front().status) : "not known of any board";
  }
  return point;
}

}  // namespace

std::string HistorySubject::Name() const {
  const std::string dcm = std::to_string(address.diblock) + '/' + std::to_string(address.dcm);
  switch (kind) {
    case Kind::Channel: return "channel " + std::to_string(address.daqChannel);
    case Kind::Board: return "board " + dcm + '/' + std::to_string(address.port);
    case Kind::DCM: return "DCM " + dcm;
    case Kind::Detector: break;
  }
  return "all boards";
}

std::optional<ChannelAddress> ParseBoard(const std::string& text, briodaq::cnv::DetId detector,
                                         std::string& why) {
  const auto numbers = NumbersIn(text, 3);
  if (!numbers) {
    why = "a board is diblock/DCM/port";
    return std::nullopt;
  }
  ChannelAddress address;
  address.diblock = (*numbers)[0];
  address.dcm = (*numbers)[1];
  address.port = (*numbers)[2];
  if (arrays::Layout::Of(detector).BoardAt(address.diblock, address.dcm, address.port) != arrays::kNowhere) {
    return address;
  }
  why = "the detector has no such place for a board";
  return std::nullopt;
}

std::optional<ChannelAddress> ParseDCM(const std::string& text, briodaq::cnv::DetId detector,
                                       std::string& why) {
  const auto numbers = NumbersIn(text, 2);
  if (!numbers) {
    why = "a DCM is diblock/DCM";
    return std::nullopt;
  }
  ChannelAddress address;
  address.diblock = (*numbers)[0];
  address.dcm = (*numbers)[1];
  const auto& places = arrays::BoardsOf(detector);
  if (std::any_of(places.begin(), places.end(), [&](const arrays::BoardPlace& place) {
        return place.diblock == address.diblock && place.dcm == address.dcm;
      })) {
    return address;
  }
  why = "the detector has no such DCM";
  return std::nullopt;
}

std::string History::ValueName() const {
  const std::string name = quantity.name;
  return subject.IsMany() && IsYesNo(quantity) ? "boards " + name : name;
}

std::string History::Title() const { return ValueName() + " of " + subject.Name() + " of " + detector; }

std::size_t History::Values() const {
  return static_cast<std::size_t>(std::count_if(
      points.begin(), points.end(), [](const HistoryPoint& point) { return point.value.has_value(); }));
}

std::size_t History::Changes() const {
  return static_cast<std::size_t>(std::count_if(
      points.begin(), points.end(), [](const HistoryPoint& point) { return point.change.has_value(); }));
}

HistoryPoint PointOf(brio::dbi::RunHistory& history, const LoadedParts& parts, const QuantityInfo& quantity,
                     const HistorySubject& subject) {
  if (subject.kind == HistorySubject::Kind::Channel) {
    return OfChannel(history, parts, quantity.quantity, subject.address);
  }
  arrays::Boards boards = arrays::MakeBoards(history, parts);
  const auto isElsewhere = [&](const arrays::Board& board) {
    const auto& [place, wanted] = std::tie(board.place, subject.address);
    if (subject.kind == HistorySubject::Kind::Detector) { return false; }
    if (place.diblock != wanted.diblock || place.dcm != wanted.dcm) { return true; }
    return subject.kind == HistorySubject::Kind::Board && place.port != wanted.port;
  };
  boards.boards.erase(std::remove_if(boards.boards.begin(), boards.boards.end(), isElsewhere),
                      boards.boards.end());
  const BoardMap map = MakeBoardMap(boards, quantity);
  return subject.IsMany() ? OfMany(map.boards, map.IsYesNo()) : OfBoard(map.boards.at(0), map.IsYesNo());
}

void MarkChanges(std::vector<HistoryPoint>& points, double least) {
  const HistoryPoint* before = nullptr;
  for (auto& point : points) {
    if (!point.value) { continue; }
    if (before != nullptr) {
      const double change = RoundedValue(*point.value - *before->value);
      if (std::abs(change) > least) { point.change = change; }
    }
    before = &point;
  }
}

}  // namespace brio::tools
