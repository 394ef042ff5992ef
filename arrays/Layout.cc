#include "arrays/Layout.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <mutex>

#include "experiment/DAQChannelMap.h"

namespace brio::arrays {
namespace {

using daqchannelmap::DAQChannelMap;

constexpr unsigned int kMostDiBlocks = 14;
constexpr unsigned int kMostDCMs = 12;
constexpr unsigned int kPorts = 64;
constexpr unsigned int kCellsOfModule = 32;
constexpr std::uint32_t kNoCell = 0xFFFFFFFF;

std::size_t PortIndex(unsigned int diblock, unsigned int dcm, unsigned int port) {
  return ((diblock - 1) * kMostDCMs + dcm - 1) * std::size_t{kPorts} + port;
}

}  // namespace

const Layout& Layout::Of(briodaq::cnv::DetId detector) {
  static std::mutex mutex;
  // Never deleted, so that it may be used while the process exits.
  static auto* const layouts = new std::map<int, std::unique_ptr<const Layout>>;
  const std::lock_guard<std::mutex> lock(mutex);
  auto& layout = (*layouts)[detector];
  if (!layout) { layout.reset(new Layout(detector)); }
  return *layout;
}

Layout::Layout(int detector)
    : detector_(detector), boardAt_(std::size_t{kMostDiBlocks} * kMostDCMs * kPorts, kNowhere) {
  const auto& map = *DAQChannelMap::getInstance(detector);
  constexpr std::size_t kMostBoards = std::size_t{kMostDiBlocks} * kMostDCMs * kPorts;
  boards_.reserve(kMostBoards);
  channels_.reserve(kMostBoards * kPixels);
  for (unsigned int diblock = 1; diblock <= kMostDiBlocks; ++diblock) {
    for (unsigned int dcm = 1; dcm <= kMostDCMs; ++dcm) {
      for (unsigned int port = 0; port < kPorts; ++port) {
        const auto first = map.encodeDChan(detector, diblock, dcm, port, 0);
        const auto logical = map.getLogicalChannel(first);
        if (logical == DAQChannelMap::kNoChannel) { continue; }
        const auto at = [](unsigned int number) { return static_cast<std::uint8_t>(number); };
        const auto plane = static_cast<std::uint16_t>(map.getPlane(logical));
        boardAt_[PortIndex(diblock, dcm, port)] = boards_.size();
        boards_.push_back({at(diblock), at(dcm), at(port), at(map.getCell(logical) / kCellsOfModule), plane});
        for (unsigned int pixel = 0; pixel < kPixels; ++pixel) {
          const auto channel = first + pixel;
          const auto offline = map.getLogicalChannel(channel);
          channels_.push_back({channel, static_cast<std::uint16_t>(map.getPlane(offline)),
                               static_cast<std::uint16_t>(map.getCell(offline)), at(diblock), at(dcm),
                               at(port), at(pixel)});
        }
        diblocks_ = static_cast<int>(diblock);
      }
    }
  }
  std::size_t planes = 0;
  for (const auto& channel : channels_) {
    planes = std::max<std::size_t>(planes, channel.plane + 1U);
  }
  firstCells_.assign(planes + 1, 0);
  for (const auto& channel : channels_) {
    auto& cells = firstCells_[channel.plane + 1U];
    cells = std::max<std::size_t>(cells, channel.cell + 1U);
  }
  for (std::size_t plane = 0; plane < planes; ++plane) {
    firstCells_[plane + 1] += firstCells_[plane];
  }
  channelAt_.assign(firstCells_.back(), kNoCell);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    channelAt_[firstCells_[channels_[i].plane] + channels_[i].cell] = static_cast<std::uint32_t>(i);
  }
}

std::size_t Layout::BoardAt(unsigned int diblock, unsigned int dcm, unsigned int port) const {
  const bool isInside =
      diblock >= 1 && diblock <= kMostDiBlocks && dcm >= 1 && dcm <= kMostDCMs && port < kPorts;
  return isInside ? boardAt_[PortIndex(diblock, dcm, port)] : kNowhere;
}

std::size_t Layout::ChannelAt(std::uint32_t daqChannel) const {
  const auto& map = *DAQChannelMap::getInstance(detector_);
  const auto board = BoardAt(map.getDiBlock(daqChannel), map.getDCM(daqChannel), map.getFEB(daqChannel));
  const std::size_t pixel = map.getPixel(daqChannel);
  if (board == kNowhere || pixel >= kPixels) { return kNowhere; }
  const std::size_t index = board * kPixels + pixel;
  return channels_[index].daqChannel == daqChannel ? index : kNowhere;
}

std::size_t Layout::ChannelAt(unsigned int plane, unsigned int cell) const {
  if (plane + std::size_t{1} >= firstCells_.size() || cell >= firstCells_[plane + 1] - firstCells_[plane]) {
    return kNowhere;
  }
  const auto index = channelAt_[firstCells_[plane] + cell];
  return index == kNoCell ? kNowhere : index;
}

int Layout::CellsOf(int plane) const {
  if (plane < 0 || plane >= Planes()) { return 0; }
  const auto index = static_cast<std::size_t>(plane);
  return static_cast<int>(firstCells_[index + 1] - firstCells_[index]);
}

}  // namespace brio::arrays
