#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "RunHistory/DetInfo.h"
#include "framework/Export.h"

namespace brio::arrays {

constexpr int kPixels = 32;
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

/// A place that a detector has for a board.
struct BoardPlace {
  std::uint8_t diblock = 0;  ///< from 1
  std::uint8_t dcm = 0;      ///< within the diblock, from 1
  std::uint8_t port = 0;     ///< of the DCM, from 0
  std::uint8_t module = 0;   ///< within the plane, 32 cells each, from 0
  std::uint16_t plane = 0;   ///< that the board reads out
};

/// A channel, by all the names that it has.
struct ChannelPlace {
  std::uint32_t daqChannel = 0;
  std::uint16_t plane = 0;
  std::uint16_t cell = 0;
  std::uint8_t diblock = 0;
  std::uint8_t dcm = 0;
  std::uint8_t port = 0;
  std::uint8_t pixel = 0;
};

/// The places of a detector in the one order that all arrays have, that of the readout: by diblock, DCM, port
/// and, for channels, pixel. So channel i belongs to board i / 32.
class BRIO_EXPORT Layout {
public:
  /// Worked out from the channel map once for each detector, and kept. Usable from any thread.
  static const Layout& Of(briodaq::cnv::DetId detector);

  const std::vector<BoardPlace>& Boards() const { return boards_; }
  const std::vector<ChannelPlace>& Channels() const { return channels_; }

  /// Where something stands in the arrays; kNowhere for what the detector does not have.
  std::size_t BoardAt(unsigned int diblock, unsigned int dcm, unsigned int port) const;
  std::size_t ChannelAt(std::uint32_t daqChannel) const;
  std::size_t ChannelAt(unsigned int plane, unsigned int cell) const;

  /// Diblocks have the numbers 1 to this.
  int DiBlocks() const { return diblocks_; }
  /// Planes have the numbers 0 to this less one.
  int Planes() const { return static_cast<int>(firstCells_.size()) - 1; }
  /// Cells of a plane, from 0; 0 for a plane that there is not.
  int CellsOf(int plane) const;

private:
  explicit Layout(int detector);

  int detector_;
  int diblocks_ = 0;
  std::vector<BoardPlace> boards_;
  std::vector<ChannelPlace> channels_;
  std::vector<std::size_t> boardAt_;     ///< by diblock, DCM, port
  std::vector<std::size_t> firstCells_;  ///< where a plane begins in channelAt_; one more than planes
  std::vector<std::uint32_t> channelAt_;
};

/// All channels of a detector, in the order of the readout: `for (auto channel : ChannelsOf(Birch))`.
inline const std::vector<ChannelPlace>& ChannelsOf(briodaq::cnv::DetId detector) {
  return Layout::Of(detector).Channels();
}

/// All places for boards of a detector, in the same order.
inline const std::vector<BoardPlace>& BoardsOf(briodaq::cnv::DetId detector) {
  return Layout::Of(detector).Boards();
}

}  // namespace brio::arrays
