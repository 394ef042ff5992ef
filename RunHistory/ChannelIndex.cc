#include "RunHistory/ChannelLookup.h"
#include "RunHistory/RunHistory.h"

namespace brio::dbi {
namespace {

// Groups of facts that loaders leave, and nothing changes until the caches are emptied.
constexpr unsigned int kHardware = 1;
constexpr unsigned int kThresholds = 2;
constexpr unsigned int kGains = 4;

BoardIndex::Board Indexed(const RunHistory::DCM& dcm, unsigned int port, unsigned int facts) {
  BoardIndex::Board board;
  const RunHistory::FEB& feb = dcm.febs[port];
  board.hasAPD = (facts & kHardware) != 0 && dcm.isActive && feb.isInstalled;
  const bool isLive =
      dcm.number != kNoDCM && IsBitSet(dcm.febEnableMask, port) && feb.isEnabled && feb.isInstalled;
  if (isLive && (facts & kThresholds) != 0 && feb.thresholds.size() >= BoardIndex::kPixels) {
    board.thresholds = feb.thresholds.data();
    board.pixelsWithThreshold = static_cast<std::uint32_t>(feb.pixelEnableMask);
  }
  if (isLive && (facts & kGains) != 0 && feb.pixelGains.size() >= BoardIndex::kPixels) {
    board.gains = feb.pixelGains.data();
  }
  return board;
}

}  // namespace

/// Makes the index anew if more was loaded since it was made.
void RunHistory::IndexBoards() {
  unsigned int facts = 0;
  if (hardwareLoaded && !IsSimulated()) { facts |= kHardware; }
  if (pixelInfoLoaded) { facts |= kThresholds; }
  if (daqRunHistoryLoaded && hardwareLoaded && pixelInfoLoaded && apdSettingsLoaded) { facts |= kGains; }
  if (facts == boardIndex.Facts() || boardIndex.IsDisabled()) { return; }
  boardIndex.Clear();
  std::vector<unsigned int> dcmNumbers;
  std::vector<BoardIndex::Board> boards;
  for (const auto& diblock : diBlocks) {
    if (diblock.isActive || diblock.number >= BoardIndex::kNumbers) { continue; }
    if (FindDiBlock(diBlocks, diblock.number) != &diblock) { continue; }
    for (unsigned int i = 0; i < diblock.dcms.size() && i + 1 < BoardIndex::kNumbers; ++i) {
      const DCM& dcm = diblock.dcms[i];
      if (dcm.febs.empty()) { continue; }
      const std::size_t first = boards.size();
      boards.resize(first + BoardIndex::kNumbers);
      dcmNumbers.push_back(BoardIndex::DCMNumber(diblock.number, i + 1));
      for (unsigned int port = 0; port < dcm.febs.size() && port < BoardIndex::kNumbers; ++port) {
        boards[first + port] = Indexed(dcm, port, facts);
      }
    }
  }
  boardIndex.Make(facts, dcmNumbers, std::move(boards));
}

}  // namespace brio::dbi
