#include "arrays/Channels.h"

#include <algorithm>
#include <cmath>

#include "arrays/BoardReader.h"

namespace brio::arrays {
namespace {

bool IsBitSet(std::uint32_t mask, unsigned int bit) { return ((mask >> bit) & 1U) != 0; }

/// What the 32 channels of a board share.
class ChannelReader {
public:
  ChannelReader(const BoardReader& reader, const LoadedParts& parts)
      : feb_(reader.Record()),
        live_(reader.Live()),
        enabledStatus_(reader.EnabledStatus()),
        gainStatus_(reader.GainStatus()),
        measuredPixels_(reader.MeasuredPixels()),
        enabledPixels_(reader.IsEnabled() ? static_cast<std::uint32_t>(feb_->pixelEnableMask) : 0),
        hasGains_(live_ == Status::Known && parts.settings.ok) {}

  Channel Read(const ChannelPlace& place) const {
    const unsigned int pixel = place.pixel;
    Channel channel;
    channel.place = place;
    channel.enabled = IsBitSet(enabledPixels_, pixel);
    channel.enabledStatus = enabledStatus_;
    channel.thresholdStatus = live_;
    if (live_ == Status::Known) {
      if (!channel.enabled) {
        channel.thresholdStatus = Status::NotEnabled;
      } else if (pixel >= feb_->thresholds.size()) {
        channel.thresholdStatus = Status::NotRecorded;
      } else {
        channel.threshold = feb_->thresholds[pixel];
      }
    }
    channel.gainStatus = gainStatus_;
    if (hasGains_) {
      if (pixel < feb_->pixelGains.size()) { channel.gain = feb_->pixelGains[pixel]; }
      if (gainStatus_ == Status::Known) {
        if (!IsBitSet(measuredPixels_, pixel)) {
          channel.gainStatus = Status::NeverMeasured;
        } else if (!std::isfinite(channel.gain)) {
          channel.gainStatus = Status::NotFinite;
        }
      }
    }
    return channel;
  }

private:
  const brio::dbi::RunHistory::FEB* feb_;
  Status live_;
  Status enabledStatus_;
  Status gainStatus_;
  std::uint32_t measuredPixels_;
  std::uint32_t enabledPixels_;
  bool hasGains_;
};

}  // namespace

std::optional<float> Channels::MeasuredGain(std::size_t index) const {
  const Channel& channel = channels.at(index);
  if (channel.gainStatus == Status::Known) { return channel.gain; }
  const std::size_t board = index / kPixels;
  const auto found =
      std::lower_bound(measured.begin(), measured.end(), board,
                       [](const MeasuredGains& gains, std::size_t wanted) { return gains.board < wanted; });
  const unsigned int pixel = channel.place.pixel;
  if (found == measured.end() || found->board != board || !IsBitSet(found->measuredPixels, pixel)) {
    return std::nullopt;
  }
  return found->gains[pixel];
}

const Channel* Channels::Find(std::uint32_t daqChannel) const {
  const std::size_t index = Layout::Of(detector).ChannelAt(daqChannel);
  return index < channels.size() ? &channels[index] : nullptr;
}

const Channel* Channels::Find(unsigned int plane, unsigned int cell) const {
  const std::size_t index = Layout::Of(detector).ChannelAt(plane, cell);
  return index < channels.size() ? &channels[index] : nullptr;
}

Channels MakeChannels(brio::dbi::RunHistory& history, const LoadedParts& parts) {
  Channels made;
  made.detector = history.GetDetectorId();
  const Layout& layout = Layout::Of(made.detector);
  made.channels.reserve(layout.Channels().size());
  BoardReader boards(history, parts);
  const ChannelPlace* place = layout.Channels().data();
  for (std::size_t i = 0; i < layout.Boards().size(); ++i) {
    boards.MoveTo(layout.Boards()[i]);
    const ChannelReader reader(boards, parts);
    for (int pixel = 0; pixel < kPixels; ++pixel) {
      made.channels.push_back(reader.Read(*place++));
    }
    const Status status = boards.GainStatus();
    const auto* apd = boards.APD();
    if ((status == Status::Replaced || status == Status::LeftOut) && apd != nullptr) {
      MeasuredGains& gains = made.measured.emplace_back();
      gains.board = i;
      gains.measuredPixels = apd->measuredPixels;
      const std::size_t count = std::min(apd->pixelGains.size(), gains.gains.size());
      std::copy_n(apd->pixelGains.begin(), count, gains.gains.begin());
    }
  }
  return made;
}

Channel MakeChannel(brio::dbi::RunHistory& history, const LoadedParts& parts, const ChannelPlace& place) {
  BoardReader board(history, parts);
  board.MoveTo({place.diblock, place.dcm, place.port, 0, place.plane});
  return ChannelReader(board, parts).Read(place);
}

std::optional<float> MeasuredGainOf(const brio::dbi::RunHistory& history, const ChannelPlace& place) {
  if (!history.IsLocationMapMine()) { return std::nullopt; }
  const auto& map = brio::dbi::gLocToFA;
  const auto found = map.find({history.GetDetectorId(), place.diblock, place.dcm, place.port});
  if (found == map.end()) { return std::nullopt; }
  const auto& apd = found->second.second;
  if (!IsBitSet(apd.measuredPixels, place.pixel) || place.pixel >= apd.pixelGains.size()) {
    return std::nullopt;
  }
  return apd.pixelGains[place.pixel];
}

}  // namespace brio::arrays
