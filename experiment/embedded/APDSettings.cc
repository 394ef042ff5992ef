#include "experiment/dcs/APDSettings.h"

#include "database/Timing.h"
#include "experiment/embedded/ConfigurationQuery.h"
#include "experiment/embedded/DCMIndex.h"

namespace dbutils::dcs {
namespace {

constexpr const char* kCategory = "SlowControl";
constexpr int kColumns = 5;
constexpr const char* kStatement =
    "SELECT dcm_name, port::smallint, temperature_enabled::boolean, temperature::double precision, "
    "voltage::integer FROM slowcontrol.apd_settings WHERE config_id = $1";

struct Setting {
  std::optional<bool> temperatureEnabled;
  std::optional<double> temperature;
  std::optional<std::int32_t> voltage;
};

template <class Value, class Out>
bool Give(const std::optional<Value>& value, Out& out) {
  if (value) { out = *value; }
  return value.has_value();
}

}  // namespace

class APDSettings::Data {
public:
  Data(long long configId, const std::vector<std::string>& names)
      : dcms(names),
        settings(dcms.Index().Size() * FoundDCMs::kPorts),
        valid(names.empty() || Read(configId)) {}

  const Setting* Find(const std::string& dcmName, int port) const {
    const auto place = dcms.FindPort(dcmName, port);
    return place ? &settings[*place] : nullptr;
  }

  FoundDCMs dcms;
  std::vector<Setting> settings;
  bool valid;

private:
  bool Read(long long configId) {
    const auto rows =
        QueryConfiguration(brio::dbi::DatabaseKind::SlowControl, kCategory, kStatement, kColumns, configId);
    if (!rows) { return false; }
    const brio::dbi::ConversionTimer timer("APD settings", rows->Count());
    for (const auto row : *rows) {
      ReadAPD(row);
    }
    return dcms.AllFound(kCategory, configId, "APD settings");
  }

  void ReadAPD(const brio::dbi::RowView& row) {
    if (row.IsNull(0)) { return; }
    const auto position = dcms.Index().Find(TextAt(row, 0));
    const auto port = IntegerAt<std::int16_t>(row, 1);
    if (!position || !port || *port < 0 || *port >= FoundDCMs::kPorts) { return; }
    Setting& setting = settings[*position * FoundDCMs::kPorts + static_cast<std::size_t>(*port)];
    if (const auto enabled = IntegerAt<std::uint8_t>(row, 2)) { setting.temperatureEnabled = *enabled != 0; }
    setting.temperature = DoubleAt(row, 3);
    setting.voltage = IntegerAt<std::int32_t>(row, 4);
    dcms.MarkFound(*position);
  }
};

APDSettings::APDSettings(const long long& configId, const std::vector<std::string>& dcmNames)
    : data_(std::make_unique<Data>(configId, dcmNames)) {}

APDSettings::~APDSettings() = default;

bool APDSettings::hasValidData() const { return data_->valid; }

bool APDSettings::getTemperatureEnable(const std::string& dcmName, const int& port, bool& enabled) const {
  const Setting* setting = data_->Find(dcmName, port);
  return setting != nullptr && Give(setting->temperatureEnabled, enabled);
}

bool APDSettings::getTemperature(const std::string& dcmName, const int& port, double& temperature) const {
  const Setting* setting = data_->Find(dcmName, port);
  return setting != nullptr && Give(setting->temperature, temperature);
}

bool APDSettings::getVoltage(const std::string& dcmName, const int& port, int& voltage) const {
  const Setting* setting = data_->Find(dcmName, port);
  return setting != nullptr && Give(setting->voltage, voltage);
}

}  // namespace dbutils::dcs
