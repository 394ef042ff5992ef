#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "arrays/Layout.h"
#include "arrays/Loading.h"
#include "arrays/Status.h"
#include "framework/Export.h"

namespace brio::arrays {

/// What a run says of one channel; element i / 32 of the boards has what its board shares. A value without
/// Status::Known shows what the question of RunHistory answers.
struct Channel {
  ChannelPlace place;
  std::int16_t threshold = 4095;  ///< ADC counts
  bool enabled = false;           ///< by the DAQ configuration: the board and the pixel
  Status enabledStatus = Status::RunNotLoaded;
  Status thresholdStatus = Status::RunNotLoaded;
  Status gainStatus = Status::RunNotLoaded;
  float gain = 0.0F;  ///< of the pixel, nominally 100
};

/// The gains that were measured of a board whose record does not show them.
struct MeasuredGains {
  std::size_t board = 0;  ///< its index
  std::uint32_t measuredPixels = 0;
  std::array<float, kPixels> gains{};
};

/// All channels of a run: element i is at ChannelsOf(detector)[i].
struct BRIO_EXPORT Channels {
  briodaq::cnv::DetId detector = briodaq::cnv::Unknown;
  std::vector<Channel> channels;
  /// By index of the board: those whose gains were replaced or left out.
  std::vector<MeasuredGains> measured;

  /// The gain that was measured of a channel, also where the run uses another; nothing when none was, or when
  /// it is not kept any more because another run's hardware was loaded.
  std::optional<float> MeasuredGain(std::size_t index) const;
  /// Null for a channel that the detector does not have.
  const Channel* Find(std::uint32_t daqChannel) const;
  const Channel* Find(unsigned int plane, unsigned int cell) const;
};

/// Reads the channels off a run that was loaded (LoadRun) as deep as is wanted. Nothing is allocated for
/// each.
BRIO_EXPORT Channels MakeChannels(brio::dbi::RunHistory& history, const LoadedParts& parts);

/// The same of a single channel of the run's detector.
BRIO_EXPORT Channel MakeChannel(brio::dbi::RunHistory& history, const LoadedParts& parts,
                                const ChannelPlace& place);

/// The gain that was measured of a channel of the far detector, whatever the run uses; nothing when none was,
/// or when another run's hardware was loaded since.
BRIO_EXPORT std::optional<float> MeasuredGainOf(const brio::dbi::RunHistory& history,
                                                const ChannelPlace& place);

}  // namespace brio::arrays
