#include "tools/shared/ChannelFacts.h"

#include <cmath>

#include "RunHistory/HardwareRecords.h"
#include "tools/shared/Format.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

constexpr float kNoTemperature = -100.0F;

template <class T>
Fact<T> Known(T value) {
  return {std::move(value), {}};
}

/// The record of the channel's DCM and board, each null when the run does not have it.
struct Place {
  const RunHistory::DCM* dcm = nullptr;
  const RunHistory::FEB* feb = nullptr;
  /// Why there is no board.
  std::string why;

  /// The DAQ configuration enables the board.
  bool IsEnabled(unsigned int port) const {
    return dcm != nullptr && feb != nullptr && feb->isEnabled && ((dcm->febEnableMask >> port) & 1U) != 0;
  }
  bool IsPixelEnabled(unsigned int pixel) const {
    return feb != nullptr && pixel < 32 &&
           ((static_cast<unsigned int>(feb->pixelEnableMask) >> pixel) & 1U) != 0;
  }
};

Place FindPlace(const RunHistory& history, const LoadedParts& parts, const ChannelAddress& address) {
  Place place;
  if (!parts.run.ok) {
    place.why = parts.run.reason;
    return place;
  }
  place.why = "diblock " + std::to_string(address.diblock) + " is not in the run, or is masked";
  for (const auto& diblock : history.GetDiBlocks()) {
    if (diblock.number != address.diblock) { continue; }
    place.why = "DCM " + std::to_string(address.dcm) + " of diblock " + std::to_string(address.diblock) +
                " is not in the run";
    const std::size_t index = static_cast<std::size_t>(address.dcm) - 1;
    if (index >= diblock.dcms.size() || !diblock.dcms[index].isActive) { return place; }
    place.dcm = &diblock.dcms[index];
    place.why = "the DCM has no port " + std::to_string(address.port);
    if (address.port < place.dcm->febs.size()) { place.feb = &place.dcm->febs[address.port]; }
  }
  return place;
}

/// Sets a fact of a live board: why there is none, or the library's answer.
template <class T>
void Set(Fact<T>& fact, const std::string& whyNot, bool isRecorded, T value) {
  if (!whyNot.empty()) {
    fact.why = whyNot;
  } else if (!isRecorded) {
    fact.why = "it was never recorded for this configuration";
  } else if (!std::isfinite(static_cast<double>(value))) {
    fact.why = "it is recorded as " + Shortest(static_cast<float>(value));
  } else {
    fact = Known(value);
  }
}

void SetSerials(const RunHistory& history, const LoadedParts& parts, ChannelFacts& facts) {
  const auto& at = facts.address;
  std::string why;
  if (!parts.settings.ok) {
    why = parts.settings.reason;
  } else if (history.GetDetectorId() != briodaq::cnv::Birch) {
    why = "serials are recorded for Birch only";
  }
  facts.febSerial.why = facts.apdSerial.why = why;
  if (!why.empty()) { return; }
  const auto found = brio::dbi::gLocToFA.find({history.GetDetectorId(), at.diblock, at.dcm, at.port});
  if (found == brio::dbi::gLocToFA.end()) {
    why = parts.settings.IsClean() ? "no FEB was installed here at the run's start" : parts.settings.reason;
    facts.febSerial.why = facts.apdSerial.why = why;
    return;
  }
  const auto& [feb, apd] = found->second;
  facts.febSerial = Known(feb.serial);
  if (apd.serial.empty()) {
    facts.apdSerial.why = "no APD with test results was installed here at the run's start";
  } else {
    facts.apdSerial = Known(apd.serial);
  }
}

/// The first reason why the channel has no settings; empty when it may have.
std::string WhyNotLive(RunHistory& history, const LoadedParts& parts, const Place& place,
                       const ChannelFacts& facts) {
  if (place.feb == nullptr) { return place.why; }
  if (history.IsMC()) { return "a simulated run has no DAQ configuration and no settings"; }
  if (!facts.installed.value) { return facts.installed.why; }
  if (!*facts.installed.value) { return "nothing is installed on the port"; }
  if (!parts.configuration.ok) { return parts.configuration.reason; }
  if (!place.IsEnabled(facts.address.port)) { return "the DAQ configuration does not enable the board"; }
  return {};
}

void SetEnabledAndThreshold(RunHistory& history, const LoadedParts& parts, const Place& place,
                            const std::string& whyNotLive, ChannelFacts& facts) {
  facts.threshold.why = whyNotLive;
  if (!whyNotLive.empty()) {
    const bool isInstalled = facts.installed.value.value_or(true);
    const bool isDecided = place.feb != nullptr && !history.IsMC() && parts.configuration.ok;
    if (!isInstalled || (isDecided && facts.installed.value)) { facts.enabled.value = false; }
    facts.enabled.why = whyNotLive;
    return;
  }
  const bool isOn = place.IsPixelEnabled(facts.address.pixel);
  facts.enabled.value = isOn;
  if (!isOn) {
    facts.enabled.why = facts.threshold.why = "the DAQ configuration does not enable the pixel";
    return;
  }
  bool ok = false;
  const int threshold = history.GetThreshold(facts.address.daqChannel, ok);
  Set(facts.threshold, {}, ok, threshold);
}

void SetSettings(RunHistory& history, const LoadedParts& parts, const std::string& whyNotLive,
                 ChannelFacts& facts) {
  std::string why = whyNotLive;
  if (why.empty() && !parts.settings.ok) { why = parts.settings.reason; }
  bool ok = false;
  RunHistory::FEB board;
  float gain = 0;
  if (why.empty()) {
    board = history.GetFEB(facts.address.daqChannel, ok);
    gain = history.GetPixelGain(facts.address.daqChannel, ok);
  }
  // A loader that met an error goes on with what it has.
  if (why.empty() && !parts.settings.IsClean() && board.voltage == 0) { why = parts.settings.reason; }
  Set(facts.voltage, why, board.voltage != 0, static_cast<int>(board.voltage));
  Set(facts.temperature, why, board.temperature != kNoTemperature, board.temperature);
  if (why.empty() && history.GetDetectorId() != briodaq::cnv::Birch) {
    facts.gain.why = "gains are recorded for Birch only";
  } else {
    Set(facts.gain, why, board.avgGain != 0.0F, gain);
  }
}

}  // namespace

ChannelFacts AskAbout(RunHistory& history, const LoadedParts& parts, const ChannelAddress& address) {
  ChannelFacts facts;
  facts.address = address;
  const Place place = FindPlace(history, parts, address);
  if (place.dcm != nullptr) { facts.dcmName = place.dcm->appName; }
  facts.isGood = history.IsGoodDiBlock(static_cast<int>(address.diblock));
  if (!parts.hardware.ok) {
    facts.installed.why = parts.hardware.reason;
  } else if (place.feb == nullptr) {
    facts.installed.why = place.why;
  } else if (!history.IsMC() && !IsHardwareRecorded(history.GetDetectorId())) {
    facts.installed.why = "no hardware is recorded for this detector";
  } else {
    facts.installed = Known(history.HasAPD(address.daqChannel));
    if (!*facts.installed.value) { facts.installed.why = "nothing is installed on the port"; }
  }
  if (history.IsMC()) {
    facts.febSerial.why = facts.apdSerial.why = "a simulated run has no real hardware";
  } else {
    SetSerials(history, parts, facts);
  }
  const std::string why = WhyNotLive(history, parts, place, facts);
  SetEnabledAndThreshold(history, parts, place, why, facts);
  SetSettings(history, parts, why, facts);
  return facts;
}

}  // namespace brio::tools
