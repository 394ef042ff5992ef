#include "arrays/BoardReader.h"

#include <algorithm>
#include <cmath>

namespace brio::arrays {
namespace {

using brio::dbi::DCMSettingsFacts;
using brio::dbi::RunHistory;

// What a board without a temperature shows.
constexpr float kNoTemperature = -100.0F;

bool IsBitSet(std::uint64_t mask, unsigned int bit) { return bit < 64 && ((mask >> bit) & 1U) != 0; }

int EnabledPixels(const RunHistory::FEB& feb) {
  int count = 0;
  for (auto mask = static_cast<std::uint32_t>(feb.pixelEnableMask); mask != 0; mask &= mask - 1) {
    ++count;
  }
  return count;
}

/// The mean threshold of the enabled pixels.
Value<double> MeanThreshold(const RunHistory::FEB& feb) {
  const auto mask = static_cast<std::uint32_t>(feb.pixelEnableMask);
  if (mask == 0) { return {0, Status::NotEnabled}; }
  int sum = 0;
  int count = 0;
  for (unsigned int pixel = 0; pixel < std::min<std::size_t>(kPixels, feb.thresholds.size()); ++pixel) {
    if (!IsBitSet(mask, pixel)) { continue; }
    sum += feb.thresholds[pixel];
    ++count;
  }
  if (count == 0) { return {0, Status::NotRecorded}; }
  return {static_cast<double>(sum) / count, Status::Known};
}

float MeanOf(const std::vector<float>& gains) {
  float sum = 0.0F;
  for (const float gain : gains) {
    sum += gain;
  }
  return sum / kPixels;
}

}  // namespace

BoardReader::BoardReader(RunHistory& history, const LoadedParts& parts)
    : history_(history),
      parts_(parts),
      detector_(history.GetDetectorId()),
      isMapMine_(parts.settings.ok && history.IsLocationMapMine()),
      next_(brio::dbi::gLocToFA.begin()) {}

void BoardReader::MoveToDCM() {
  dcm_ = nullptr;
  facts_ = nullptr;
  if (!parts_.run.ok) { return; }
  presence_ = history_.IsGoodDiBlock(place_.diblock) ? Status::NotInRun : Status::Masked;
  const auto& diblocks = history_.GetDiBlocks();
  const auto diblock = std::find_if(diblocks.begin(), diblocks.end(), [this](const RunHistory::DiBlock& one) {
    return one.number == place_.diblock;
  });
  const std::size_t index = place_.dcm - std::size_t{1};
  if (diblock == diblocks.end() || index >= diblock->dcms.size()) { return; }
  if (!diblock->dcms[index].isActive) {
    presence_ = Status::NotInRun;
    return;
  }
  presence_ = Status::Known;
  dcm_ = &diblock->dcms[index];
  const auto& facts = history_.GetSettingsFacts();
  const auto position = static_cast<std::size_t>(diblock - diblocks.begin());
  if (position < facts.size() && index < facts[position].size()) { facts_ = &facts[position][index]; }
}

void BoardReader::MoveTo(const BoardPlace& place) {
  const bool isSameDCM = place.diblock == place_.diblock && place.dcm == place_.dcm;
  place_ = place;
  if (!isSameDCM) { MoveToDCM(); }
  record_ = dcm_ != nullptr && place.port < dcm_->febs.size() ? &dcm_->febs[place.port] : nullptr;
  hardware_ = nullptr;
  if (isMapMine_) {
    const auto& map = brio::dbi::gLocToFA;
    const brio::dbi::HardwareLocation location{detector_, place.diblock, place.dcm, place.port};
    if (next_ == map.end() || location < next_->first || next_->first < location) {
      next_ = map.lower_bound(location);
    }
    if (next_ != map.end() && !(location < next_->first)) {
      hardware_ = &next_->second;
      ++next_;
    }
  }
  live_ = FindLive();
}

Status BoardReader::FindLive() const {
  if (presence_ != Status::Known) { return presence_; }
  if (record_ == nullptr) { return Status::NotInstalled; }
  if (history_.IsMC()) { return Status::Simulated; }
  if (!parts_.hardware.ok) { return Status::HardwareNotLoaded; }
  if (!IsHardwareRecorded(detector_)) { return Status::NotForDetector; }
  if (!record_->isInstalled) { return Status::NotInstalled; }
  if (!parts_.configuration.ok) { return Status::ConfigurationNotLoaded; }
  return IsEnabled() ? Status::Known : Status::NotEnabled;
}

bool BoardReader::IsEnabled() const {
  return record_ != nullptr && record_->isEnabled && IsBitSet(dcm_->febEnableMask, place_.port);
}

Status BoardReader::EnabledStatus() const {
  if (presence_ != Status::Known) { return presence_; }
  if (history_.IsMC()) { return Status::Simulated; }
  if (!parts_.hardware.ok) { return Status::HardwareNotLoaded; }
  return parts_.configuration.ok ? Status::Known : Status::ConfigurationNotLoaded;
}

bool BoardReader::Has(std::uint64_t DCMSettingsFacts::*mask) const {
  return facts_ != nullptr && IsBitSet(facts_->*mask, place_.port);
}

std::uint32_t BoardReader::MeasuredPixels() const {
  return Has(&DCMSettingsFacts::mapped) ? facts_->measuredPixels[place_.port] : 0;
}

Status BoardReader::GainStatus() const {
  if (live_ != Status::Known) { return live_; }
  if (detector_ != briodaq::cnv::Birch) { return Status::NotForDetector; }
  if (!parts_.settings.ok) { return Status::SettingsNotLoaded; }
  if (Has(&DCMSettingsFacts::mapped)) {
    if (MeasuredPixels() == 0) { return Missing(Status::NeverMeasured); }
    return Has(&DCMSettingsFacts::replaced) ? Status::Replaced : Status::Known;
  }
  if (place_.diblock <= history_.GetDiBlocks().size()) { return Missing(Status::NeverMeasured); }
  if (!isMapMine_) { return Missing(Status::LeftOut); }
  return Missing(APD() != nullptr && APD()->measuredPixels != 0 ? Status::LeftOut : Status::NeverMeasured);
}

void BoardReader::ReadGain(Board& board) const {
  board.gain.status = board.measuredGain.status = GainStatus();
  if (live_ != Status::Known || !parts_.settings.ok || record_ == nullptr) { return; }
  board.gain.value = record_->avgGain;
  switch (board.gain.status) {
    case Status::Known:
    case Status::Replaced: board.measuredGain = {facts_->mean[place_.port], Status::Known}; break;
    case Status::LeftOut:
      if (APD() == nullptr) {
        board.measuredGain.status = Status::Superseded;
      } else {
        board.measuredGain = {MeanOf(APD()->pixelGains), Status::Known};
      }
      break;
    default: break;
  }
  for (auto* gain : {&board.gain, &board.measuredGain}) {
    if (gain->IsKnown() && !std::isfinite(gain->value)) { gain->status = Status::NotFinite; }
  }
}

void BoardReader::ReadSettings(Board& board) const {
  board.temperature.value = kNoTemperature;
  const Status status = live_ == Status::Known && !parts_.settings.ok ? Status::SettingsNotLoaded : live_;
  board.voltage.status = board.temperature.status = board.temperatureControl.status = status;
  if (status != Status::Known || record_ == nullptr) { return; }
  const auto statusOf = [this](std::uint64_t DCMSettingsFacts::*mask) {
    return Has(mask) ? Status::Known : Missing(Status::NotRecorded);
  };
  board.voltage = {record_->voltage, statusOf(&DCMSettingsFacts::voltages)};
  board.temperature = {record_->temperature, statusOf(&DCMSettingsFacts::temperatures)};
  board.temperatureControl = {record_->temperatureEnabled, statusOf(&DCMSettingsFacts::controls)};
  if (board.temperature.IsKnown() && !std::isfinite(record_->temperature)) {
    board.temperature.status = Status::NotFinite;
  }
}

void BoardReader::ReadSerials(Board& board) const {
  Status status = Status::Known;
  if (!parts_.run.ok) {
    status = Status::RunNotLoaded;
  } else if (history_.IsMC()) {
    status = Status::Simulated;
  } else if (!parts_.hardware.ok) {
    status = Status::HardwareNotLoaded;
  } else if (detector_ != briodaq::cnv::Birch) {
    status = Status::NotForDetector;
  } else if (!parts_.settings.ok) {
    status = Status::SettingsNotLoaded;
  } else if (!isMapMine_) {
    status = Status::Superseded;
  }
  board.feb.status = board.apd.status = status;
  if (status != Status::Known) { return; }
  board.feb.status = board.apd.status = Missing(Status::NotInstalled);
  if (hardware_ == nullptr) { return; }
  board.feb = {hardware_->first.serial, Status::Known};
  if (!APD()->serial.empty()) { board.apd = {APD()->serial, Status::Known}; }
}

Board BoardReader::Read() {
  Board board;
  board.place = place_;
  board.presence = presence_;
  if (presence_ != Status::Known || (record_ != nullptr && !history_.IsMC() && !parts_.hardware.ok)) {
    board.installed.status = presence_ != Status::Known ? presence_ : Status::HardwareNotLoaded;
  } else if (!history_.IsMC() && !IsHardwareRecorded(detector_)) {
    board.installed.status = Status::NotForDetector;
  } else {
    // A simulated run's detector is perfect, though nothing is marked on its ports.
    board.installed = {record_ != nullptr && (record_->isInstalled || history_.IsMC()), Status::Known};
  }
  board.enabled = {IsEnabled(), EnabledStatus()};
  board.enabledPixels.status = live_;
  board.threshold.status = live_;
  if (live_ == Status::Known && record_ != nullptr) {
    board.enabledPixels.value = EnabledPixels(*record_);
    board.threshold = MeanThreshold(*record_);
  }
  ReadGain(board);
  ReadSettings(board);
  ReadSerials(board);
  return board;
}

}  // namespace brio::arrays
