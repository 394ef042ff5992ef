#pragma once

#include <optional>
#include <string>

#include "arrays/Status.h"
#include "tools/shared/ChannelAddress.h"
#include "tools/shared/Loading.h"

namespace brio::tools {

/// A value of a channel, or why there is none; a value with a reason has something to tell about it.
template <class T>
struct Fact {
  std::optional<T> value;
  arrays::Status status = arrays::Status::RunNotLoaded;
  std::string why;
};

/// What a run says of one channel.
struct ChannelFacts {
  ChannelAddress address;
  std::string dcmName;
  bool isGood = true;  ///< the diblock, by the mask in use
  Fact<bool> installed;
  Fact<bool> enabled;  ///< the board and the pixel
  Fact<std::string> febSerial;
  Fact<std::string> apdSerial;
  Fact<int> threshold;                ///< ADC counts
  Fact<float> gain;                   ///< of the pixel
  std::optional<float> measuredGain;  ///< of the pixel, where the run uses another
  Fact<int> voltage;                  ///< volts
  Fact<float> temperature;            ///< degrees Celsius
};

/// Asks a run record, which was loaded up to its settings as far as possible, about a channel.
ChannelFacts AskAbout(brio::dbi::RunHistory& history, const LoadedParts& parts,
                      const ChannelAddress& address);

}  // namespace brio::tools
