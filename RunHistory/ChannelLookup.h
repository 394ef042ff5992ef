#pragma once

#include <cstddef>
#include <vector>

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

inline ChannelParts PartsOf(int detector, unsigned int channel) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(detector);
  return {map.getDiBlock(channel), map.getDCM(channel), map.getFEB(channel), map.getPixel(channel)};
}

/// The diblock of a number; null when the run does not have it.
inline RunHistory::DiBlock* FindDiBlock(std::vector<RunHistory::DiBlock>& diblocks, unsigned int number) {
  // Numbers are unique and ascending, so in a complete detector the position tells.
  const std::size_t guess = static_cast<std::size_t>(number) - 1;
  if (guess < diblocks.size() && diblocks[guess].number == number) { return &diblocks[guess]; }
  for (auto& diblock : diblocks) {
    if (diblock.number == number) { return &diblock; }
  }
  return nullptr;
}

/// The diblock's DCM of a number (from 1); null when there is none.
inline RunHistory::DCM* FindDCM(RunHistory::DiBlock& diblock, unsigned int number) {
  const std::size_t index = static_cast<std::size_t>(number) - 1;
  return index < diblock.dcms.size() ? &diblock.dcms[index] : nullptr;
}

/// The DCM's board on a port; null when there is none.
inline RunHistory::FEB* FindFEB(RunHistory::DCM& dcm, unsigned int port) {
  return port < dcm.febs.size() ? &dcm.febs[port] : nullptr;
}

/// The number that stands for "no DCM".
constexpr unsigned int kNoDCM = 0xFFFF;

inline bool IsBitSet(std::uint64_t mask, unsigned int bit) { return bit < 64 && ((mask >> bit) & 1U) != 0; }

}  // namespace brio::dbi
