#include <atomic>
#include <cmath>

#include "RunHistory/ChannelLookup.h"
#include "RunHistory/DAQEnvironment.h"
#include "RunHistory/FreshTry.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/OutsideRows.h"
#include "database/PlainText.h"
#include "experiment/dcs/APDSettings.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

constexpr int kPixelsPerFEB = 32;
constexpr float kNominalGain = 100.0F;
constexpr double kLargestDeviation = 10.0;
// What a board shows until a temperature was recorded.
constexpr double kNoTemperature = -100.0;

std::uint64_t BitOf(std::size_t port) { return std::uint64_t{1} << port; }

std::string Described(const HardwareLocation& location) {
  return PlainText("dcm-2-", location.diblock, "-", location.dcm, "-", location.port);
}

/// How often gLocToFA was replaced in this process.
std::atomic<std::uint64_t> mappings{0};

std::string Listed(const std::vector<std::string>& parts) {
  std::string list;
  for (const auto& part : parts) {
    list += (list.empty() ? "" : ", ") + part;
  }
  return list;
}

/// Copies an APD's gains to its board; a mean too far from the nominal gain is reported and replaced.
void StoreGains(RunHistory::FEB& feb, DCMSettingsFacts& facts, const APDInfo& apd,
                const HardwareLocation& location) {
  float sum = 0.0F;
  for (std::size_t pixel = 0; pixel < apd.pixelGains.size(); ++pixel) {
    feb.pixelGains.at(pixel) = apd.pixelGains[pixel];
    sum += apd.pixelGains[pixel];
  }
  const float average = sum / kPixelsPerFEB;
  feb.avgGain = average;
  const std::size_t port = location.port % DCMSettingsFacts::kPorts;
  facts.mapped |= BitOf(port);
  facts.mean[port] = average;
  facts.measuredPixels[port] = apd.measuredPixels;
  // A mean that is not a number deviates from nothing: it stays.
  const bool deviates = std::fabs(100.0 - static_cast<double>(average)) > kLargestDeviation;
  if (!deviates) { return; }
  LogError("RunHistory") << "average gain for APD " << apd.serial << " connected to " << Described(location)
                         << " is " << average << " : 100 expected so default to that";
  facts.replaced |= BitOf(port);
  feb.avgGain = kNominalGain;
  for (std::size_t pixel = 0; pixel < apd.pixelGains.size(); ++pixel) {
    feb.pixelGains[pixel] = kNominalGain;
  }
}

/// Asks for the settings of a DCM's boards. \param temperature  one variable for all boards of a run: a
/// temperature that was not recorded reads as that of the port before
void StoreSettings(RunHistory::DCM& dcm, DCMSettingsFacts& facts, const dbutils::dcs::APDSettings& settings,
                   double& temperature) {
  for (int port = 0; port < static_cast<int>(dcm.febs.size()); ++port) {
    RunHistory::FEB& feb = dcm.febs[static_cast<std::size_t>(port)];
    const std::uint64_t bit = BitOf(static_cast<std::size_t>(port) % DCMSettingsFacts::kPorts);
    if (settings.getTemperatureEnable(dcm.appName, port, feb.temperatureEnabled)) { facts.controls |= bit; }
    if (settings.getTemperature(dcm.appName, port, temperature)) { facts.temperatures |= bit; }
    feb.temperature = NearestFloat(temperature);
    if (settings.getVoltage(dcm.appName, port, feb.voltage)) { facts.voltages |= bit; }
  }
}

}  // namespace

bool RunHistory::LoadAPDSettings() {
  if (apdSettingsLoaded) { return true; }
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return LoadAPDSettings(); });
  }
  if (!LoadDAQRunHistory() || !LoadHardwareInfo()) { return false; }
  if (apdSettingsLoaded) { return true; }  // a simulated run was built without settings
  const auto names = ActiveDCMNames(diBlocks);
  SetDAQEnvironment(detectorName);
  incompleteParts.clear();
  const dbutils::dcs::APDSettings settings(configId, names);
  settingsFacts.clear();
  bool isAnyThere = names.empty();
  double temperature = kNoTemperature;
  for (auto& diblock : diBlocks) {
    for (auto& dcm : diblock.dcms) {
      if (!dcm.isActive) { continue; }
      DCMSettingsFacts& facts = FactsOf(diblock, dcm);
      StoreSettings(dcm, facts, settings, temperature);
      isAnyThere = isAnyThere || (facts.controls | facts.temperatures | facts.voltages) != 0;
    }
  }
  // The look-up does not tell a board that has no settings from one whose settings it could not read.
  if (!isAnyThere && !settings.hasValidData()) { incompleteParts.emplace_back("slow control"); }
  const bool isFar = DetInfo::GetId(detectorName) == briodaq::cnv::Birch;
  if (isFar) {
    MapHardwareToLocation();
    locationMapping = ++mappings;
  }
  if (IsTooIncomplete()) {
    throw cet::exception("RunHistory::Incomplete")
        << "LoadAPDSettings: could not read " << Listed(incompleteParts) << "." << std::endl;
  }
  if (isFar) {
    nInstrumentedFEBs = static_cast<std::int32_t>(gLocToFA.size());
    StoreMappedGains();
  }
  apdSettingsLoaded = true;
  return true;
}

bool RunHistory::IsLocationMapMine() const { return locationMapping != 0 && locationMapping == mappings; }

DCMSettingsFacts& RunHistory::FactsOf(const DiBlock& diblock, const DCM& dcm) {
  settingsFacts.resize(diBlocks.size());
  auto& facts = settingsFacts[static_cast<std::size_t>(&diblock - diBlocks.data())];
  facts.resize(diblock.dcms.size());
  return facts[static_cast<std::size_t>(&dcm - diblock.dcms.data())];
}

/// Brings the gains of gLocToFA to the boards at its locations.
void RunHistory::StoreMappedGains() {
  OutsideRows outside("LoadAPDSettings");
  for (const auto& [location, hardware] : gLocToFA) {
    if (location.diblock > diBlocks.size()) { continue; }
    for (auto& diblock : diBlocks) {
      if (static_cast<std::uint32_t>(static_cast<std::int16_t>(diblock.number)) != location.diblock) {
        continue;
      }
      DCM* dcm = FindDCM(diblock, location.dcm);
      if (dcm != nullptr && !dcm->isActive) { continue; }
      FEB* feb = dcm == nullptr ? nullptr : FindFEB(*dcm, location.port);
      if (feb == nullptr) {
        outside.Add(Described(location));
        continue;
      }
      if (feb->isInstalled) { StoreGains(*feb, FactsOf(diblock, *dcm), hardware.second, location); }
    }
  }
  outside.Report();
}

}  // namespace brio::dbi
