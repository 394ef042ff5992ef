#pragma once

#include <cstddef>
#include <vector>

#include "RunHistory/OfflineBoards.h"
#include "RunHistory/RunHistory.h"
#include "experiment/DAQChannelMap.h"

namespace brio::dbi {

/// A DAQ channel taken apart.
struct ChannelParts {
  unsigned int diblock;
  unsigned int dcm;
  unsigned int port;
  unsigned int pixel;
};

inline ChannelParts PartsOf(const daqchannelmap::DAQChannelMap& map, unsigned int channel) {
  return {map.getDiBlock(channel), map.getDCM(channel), map.getFEB(channel), map.getPixel(channel)};
}

/// Where a channel's board stands in the index of boards, if it can stand there, and its pixel (0..31).
struct PlaceInIndex {
  bool exists;
  unsigned int dcmNumber;
  unsigned int port;
  unsigned int pixel;
};

inline PlaceInIndex RunHistory::InIndex(unsigned int channel) const {
  const ChannelParts parts = PartsOf(*channelMap, channel);
  const bool exists =
      parts.pixel < BoardIndex::kPixels && BoardIndex::HasRoomFor(parts.diblock, parts.dcm, parts.port);
  return {exists, BoardIndex::DCMNumber(parts.diblock, parts.dcm), parts.port, parts.pixel};
}

inline PlaceInIndex RunHistory::InIndex(const geo::OfflineChan& channel) const {
  const OfflineBoards::Board board = offlineBoards->Of(channel);
  return {true, board.dcmNumber, board.port, OfflineBoards::PixelOf(channel)};
}

/// The diblock of a number; null when the run does not have it.
inline const RunHistory::DiBlock* FindDiBlock(const std::vector<RunHistory::DiBlock>& diblocks,
                                              unsigned int number) {
  // Numbers are unique and ascending, so in a complete detector the position tells.
  const std::size_t guess = static_cast<std::size_t>(number) - 1;
  if (guess < diblocks.size() && diblocks[guess].number == number) { return &diblocks[guess]; }
  for (const auto& diblock : diblocks) {
    if (diblock.number == number) { return &diblock; }
  }
  return nullptr;
}

/// The diblock's DCM of a number (from 1); null when there is none.
template <class DiBlock>
auto* FindDCM(DiBlock& diblock, unsigned int number) {
  const std::size_t index = static_cast<std::size_t>(number) - 1;
  return index < diblock.dcms.size() ? diblock.dcms.data() + index : nullptr;
}

/// The DCM's board on a port; null when there is none.
template <class DCM>
auto* FindFEB(DCM& dcm, unsigned int port) {
  return port < dcm.febs.size() ? dcm.febs.data() + port : nullptr;
}

/// The number that stands for "no DCM".
constexpr unsigned int kNoDCM = 0xFFFF;

inline bool IsBitSet(std::uint64_t mask, unsigned int bit) { return bit < 64 && ((mask >> bit) & 1U) != 0; }

}  // namespace brio::dbi
