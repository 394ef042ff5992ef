#pragma once

#include <memory>
#include <string>
#include <vector>

#include "framework/Export.h"

namespace dbutils::dcs {

/// Slow-control settings of the APDs of a set of DCMs in a DAQ configuration. Where the data comes from and
/// what a failure does is as for dbutils::daqconfig::PixelEnableMasks. A question about a value that the
/// database does not hold gives false and leaves its output argument as it was.
class BRIO_EXPORT APDSettings {
public:
  APDSettings(const long long& configId, const std::vector<std::string>& dcmNames);
  virtual ~APDSettings();
  APDSettings(const APDSettings&) = delete;
  APDSettings& operator=(const APDSettings&) = delete;

  /// True when every DCM asked for has settings; true for an empty list of DCMs.
  bool hasValidData() const;

  /// Whether the temperature control of the APD on a port is on.
  bool getTemperatureEnable(const std::string& dcmName, const int& port, bool& enabled) const;
  /// The APD's temperature in degrees Celsius.
  bool getTemperature(const std::string& dcmName, const int& port, double& temperature) const;
  /// The APD's bias voltage in volts.
  bool getVoltage(const std::string& dcmName, const int& port, int& voltage) const;

private:
  class Data;
  std::unique_ptr<Data> data_;
};

}  // namespace dbutils::dcs
