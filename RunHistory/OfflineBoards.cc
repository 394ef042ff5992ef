#include "RunHistory/OfflineBoards.h"

#include <algorithm>
#include <array>
#include <mutex>

#include "RunHistory/BoardIndex.h"
#include "RunHistory/ChannelLookup.h"

namespace brio::dbi {
namespace {

using daqchannelmap::DAQChannelMap;

constexpr unsigned int kMostPlanes = 16384;  // that a logical channel can name
constexpr unsigned int kMostCells = 16384;
constexpr unsigned int kMostBoards = 1U << 20U;
constexpr std::size_t kDetectors = 16;

}  // namespace

const OfflineBoards& OfflineBoards::Of(int detector) {
  // Never deleted, so that whoever asks while the process exits still finds them.
  static std::array<std::once_flag, kDetectors> made;
  static std::array<const OfflineBoards*, kDetectors> tables{};
  if (detector < 0 || detector >= static_cast<int>(kDetectors)) { return None(); }
  const auto index = static_cast<std::size_t>(detector);
  std::call_once(made[index], [&] { tables[index] = new OfflineBoards(detector); });
  return *tables[index];
}

const OfflineBoards& OfflineBoards::None() {
  static const auto* const none = new OfflineBoards;
  return *none;
}

OfflineBoards::OfflineBoards(int detector) {
  const DAQChannelMap& map = *DAQChannelMap::getInstance(detector);
  const auto channelOf = [&](unsigned int plane, unsigned int cell) {
    return map.getDAQChannel(map.encodeLChan(detector, plane, cell));
  };
  // A channel that lies beyond what these find is not known here, that is all.
  for (unsigned int plane = 0; plane < kMostPlanes; ++plane) {
    if (channelOf(plane, 0) != DAQChannelMap::kNoChannel) { planes_ = plane + 1; }
  }
  for (unsigned int cell = 0; cell < kMostCells; ++cell) {
    if (channelOf(0, cell) != DAQChannelMap::kNoChannel) { modules_ = cell / kCells + 1; }
  }
  planes_ = std::min(planes_, kMostBoards / std::max(modules_, 1U));

  const auto boardOf = [&](unsigned int plane, unsigned int firstCell) {
    const ChannelParts first = PartsOf(map, channelOf(plane, firstCell));
    for (unsigned int pixel = 0; pixel < kCells; ++pixel) {
      const ChannelParts parts = PartsOf(map, channelOf(plane, firstCell + pixel));
      const bool fits = parts.diblock == first.diblock && parts.dcm == first.dcm &&
                        parts.port == first.port && parts.pixel == pixel;
      if (!fits) { return Board(); }
    }
    if (!BoardIndex::HasRoomFor(first.diblock, first.dcm, first.port)) { return Board(); }
    return Board{static_cast<std::uint16_t>(BoardIndex::DCMNumber(first.diblock, first.dcm)),
                 static_cast<std::uint16_t>(first.port)};
  };
  for (unsigned int plane = 0; plane < planes_; ++plane) {
    for (unsigned int module = 0; module < modules_; ++module) {
      boards_.push_back(boardOf(plane, kCells * module));
    }
  }
}

}  // namespace brio::dbi
