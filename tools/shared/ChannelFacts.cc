#include "tools/shared/ChannelFacts.h"

#include <algorithm>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "arrays/Records.h"
#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

using arrays::Status;
using brio::dbi::RunHistory;

/// Names and reasons as this channel's reader needs them.
class Reasons {
public:
  Reasons(const RunHistory& history, const LoadedParts& parts, const ChannelAddress& at)
      : history_(history), at_(at) {
    boards_.parts = parts;
  }

  std::string Of(Status status) const {
    const std::string diblock = "diblock " + std::to_string(at_.diblock);
    switch (status) {
      case Status::NotInRun:
        return HasDiBlock() ? "DCM " + std::to_string(at_.dcm) + " of " + diblock + " is not in the run"
                            : diblock + " is not in the run";
      case Status::Masked: return diblock + " is masked: the good-diblock mask leaves it out";
      case Status::LeftOut:
        return "the run has " + std::to_string(history_.GetDiBlocks().size()) +
               " diblocks, and gains of a diblock with a higher number are left out";
      case Status::Simulated: return "a simulated run has no DAQ configuration and no settings";
      case Status::NotEnabled: return "the DAQ configuration does not enable the board";
      case Status::NotForDetector:
        return IsHardwareRecorded(history_.GetDetectorId()) ? "gains are recorded for Birch only"
                                                            : "no hardware is recorded for this detector";
      default: return boards_.Why(status);
    }
  }

private:
  bool HasDiBlock() const {
    const auto& diblocks = history_.GetDiBlocks();
    return std::any_of(diblocks.begin(), diblocks.end(),
                       [this](const auto& diblock) { return diblock.number == at_.diblock; });
  }

  const RunHistory& history_;
  const ChannelAddress& at_;
  arrays::Boards boards_;
};

template <class T>
Fact<T> FactOf(const T& value, Status status, const Reasons& reasons) {
  if (status == Status::Known) { return {value, status, {}}; }
  return {std::nullopt, status, reasons.Of(status)};
}

Fact<float> FactOf(float value, Status status, const Reasons& reasons) {
  if (status == Status::NotFinite) { return {std::nullopt, status, "it is recorded as " + Shortest(value)}; }
  return FactOf<float>(value, status, reasons);
}

template <class T>
Fact<T> FactOf(const arrays::Value<T>& value, const Reasons& reasons) {
  return FactOf(value.value, value.status, reasons);
}

std::string NameOfDCM(const RunHistory& history, const ChannelAddress& at) {
  for (const auto& diblock : history.GetDiBlocks()) {
    const std::size_t index = static_cast<std::size_t>(at.dcm) - 1;
    if (diblock.number == at.diblock && index < diblock.dcms.size() && diblock.dcms[index].isActive) {
      return diblock.dcms[index].appName;
    }
  }
  return {};
}

void SetEnabled(const arrays::Board& board, const arrays::Channel& channel, const Reasons& reasons,
                ChannelFacts& facts) {
  facts.enabled = FactOf(channel.enabled, channel.enabledStatus, reasons);
  if (board.installed.IsKnown() && !board.installed.value) {
    facts.enabled = {false, Status::NotInstalled, reasons.Of(Status::NotInstalled)};
  } else if (facts.enabled.value && !channel.enabled) {
    facts.enabled.why =
        std::string("the DAQ configuration does not enable the ") + (board.enabled.value ? "pixel" : "board");
  }
}

void SetGain(const arrays::Board& board, const arrays::Channel& channel, const Reasons& reasons,
             ChannelFacts& facts) {
  facts.gain = FactOf(channel.gain, channel.gainStatus, reasons);
  if (channel.gainStatus == Status::Replaced) {
    facts.gain.value = channel.gain;
    facts.gain.why = "100 stands for the measured gains, whose mean is " +
                     Fixed(static_cast<double>(board.measuredGain.value), 2) + " and out of range";
  } else if (channel.gainStatus == Status::NeverMeasured && board.gain.IsKnown()) {
    facts.gain.why = "no gain was measured of this pixel of the APD";
  }
  if (facts.measuredGain) { facts.gain.why += "; measured: " + arrays::Shortest(*facts.measuredGain); }
}

}  // namespace

ChannelFacts AskAbout(RunHistory& history, const LoadedParts& parts, const ChannelAddress& address) {
  ChannelFacts facts;
  facts.address = address;
  facts.dcmName = NameOfDCM(history, address);
  facts.isGood = history.IsGoodDiBlock(static_cast<int>(address.diblock));
  const Reasons reasons(history, parts, address);
  const auto byte = [](unsigned int number) { return static_cast<std::uint8_t>(number); };
  const arrays::ChannelPlace place{
      address.daqChannel, 0, 0, byte(address.diblock), byte(address.dcm), byte(address.port),
      byte(address.pixel)};
  const auto board = arrays::MakeBoard(history, parts, {place.diblock, place.dcm, place.port, 0, 0});
  const auto channel = arrays::MakeChannel(history, parts, place);
  if (channel.gainStatus == Status::Replaced || channel.gainStatus == Status::LeftOut) {
    facts.measuredGain = arrays::MeasuredGainOf(history, place);
  }
  facts.installed = FactOf(board.installed, reasons);
  if (board.installed.IsKnown() && !board.installed.value) {
    facts.installed.why = reasons.Of(Status::NotInstalled);
  }
  facts.febSerial = FactOf(board.feb, reasons);
  facts.apdSerial = FactOf(board.apd, reasons);
  if (board.feb.status == Status::Simulated) {
    facts.febSerial.why = facts.apdSerial.why = "a simulated run has no real hardware";
  } else if (board.feb.status == Status::NotForDetector) {
    facts.febSerial.why = facts.apdSerial.why = "serials are recorded for Birch only";
  } else if (board.feb.status == Status::NotInstalled) {
    facts.febSerial.why = facts.apdSerial.why = "no FEB was installed here at the run's start";
  } else if (board.apd.status == Status::NotInstalled) {
    facts.apdSerial.why = "no APD with test results was installed here at the run's start";
  }
  SetEnabled(board, channel, reasons, facts);
  facts.threshold = FactOf<int>(channel.threshold, channel.thresholdStatus, reasons);
  if (channel.thresholdStatus == Status::NotEnabled) { facts.threshold.why = facts.enabled.why; }
  SetGain(board, channel, reasons, facts);
  facts.voltage = FactOf(board.voltage, reasons);
  facts.temperature = FactOf(board.temperature, reasons);
  return facts;
}

}  // namespace brio::tools
