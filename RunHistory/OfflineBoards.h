#pragma once

#include <cstdint>
#include <vector>

#include "experiment/OfflineChan.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Which board reads out an offline channel, for all boards whose 32 pixels are 32 cells in a row: asked of
/// the detector's channel map once for the whole process. Other channels are the map's to tell.
class BRIO_EXPORT OfflineBoards {
public:
  /// A DCM's number of BoardIndex, and a port; 0 for a board that is not known.
  struct Board {
    std::uint16_t dcmNumber = 0;
    std::uint16_t port = 0;
  };

  /// Those of a detector, made at the first call for it. May be called on several threads at once, and holds
  /// for the life of the process.
  static const OfflineBoards& Of(int detector);
  /// Knows no board.
  static const OfflineBoards& None();

  /// The board of a channel, whose plane and cell count as 16-bit numbers. The pixel is PixelOf the channel.
  Board Of(const geo::OfflineChan& channel) const {
    const unsigned int plane = channel.Plane() & 0xFFFFU;
    const unsigned int module = (channel.Cell() & 0xFFFFU) / kCells;
    return plane < planes_ && module < modules_ ? boards_[plane * modules_ + module] : Board();
  }
  static unsigned int PixelOf(const geo::OfflineChan& channel) { return channel.Cell() % kCells; }

private:
  static constexpr unsigned int kCells = 32;  ///< of a module, and pixels of its board

  OfflineBoards() = default;
  explicit OfflineBoards(int detector);

  unsigned int planes_ = 0;
  unsigned int modules_ = 0;   ///< of a plane
  std::vector<Board> boards_;  ///< by plane and module
};

}  // namespace brio::dbi
