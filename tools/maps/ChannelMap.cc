#include "tools/maps/ChannelMap.h"

namespace brio::tools {
namespace {

using arrays::Channel;
using arrays::Status;

void TakeEnabled(MapBoard& shown, const Channel& channel, const arrays::Board& board) {
  shown.value = 1;
  if (!board.installed.IsKnown()) {
    shown.status = board.installed.status;
  } else if (!board.installed.value) {
    shown.status = Status::NotInstalled;
  } else {
    shown.status = channel.enabledStatus == Status::Known && !channel.enabled ? Status::NotEnabled
                                                                              : channel.enabledStatus;
  }
}

}  // namespace

BoardMap MakeChannelMap(const arrays::Channels& channels, const arrays::Boards& boards,
                        const QuantityInfo& quantity) {
  const BoardMap ofBoards = MakeBoardMap(boards, quantity);
  BoardMap map = ofBoards;
  map.isOfChannels = true;
  map.boards.clear();
  map.boards.reserve(channels.channels.size());
  for (std::size_t i = 0; i < channels.channels.size(); ++i) {
    const Channel& channel = channels.channels[i];
    const std::size_t board = i / arrays::kPixels;
    MapBoard& shown = map.boards.emplace_back(ofBoards.boards.at(board));
    shown.cell = channel.place.cell;
    shown.pixel = channel.place.pixel;
    switch (quantity.quantity) {
      case Quantity::Threshold:
        shown.status = channel.thresholdStatus;
        shown.value = channel.threshold;
        break;
      case Quantity::Gain: {
        shown.status = channel.gainStatus;
        shown.value = static_cast<double>(channel.gain);
        shown.measured.reset();
        if (shown.IsGood()) { break; }
        if (const auto measured = channels.MeasuredGain(i)) {
          shown.measured = static_cast<double>(*measured);
        }
        break;
      }
      case Quantity::Enabled: TakeEnabled(shown, channel, boards.boards[board]); break;
      default: break;
    }
  }
  return map;
}

}  // namespace brio::tools
