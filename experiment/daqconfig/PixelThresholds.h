#pragma once

#include <memory>
#include <string>
#include <vector>

#include "framework/Export.h"

namespace dbutils::daqconfig {

/// The readout threshold, in ADC counts, of each pixel of a set of DCMs in a DAQ configuration. Where the
/// data comes from, what is valid and what a failure does is as for PixelEnableMasks.
class BRIO_EXPORT PixelThresholds {
public:
  PixelThresholds(const long long& configId, std::vector<std::string> dcmNames);
  virtual ~PixelThresholds();
  PixelThresholds(const PixelThresholds&) = delete;
  PixelThresholds& operator=(const PixelThresholds&) = delete;

  bool hasValidData() const;

  /// Sets `thresholds` to the board's 32 values, indexed by pixel. False, and `thresholds` as it was, when
  /// the DCM was not found or the port is outside 0 to 63.
  bool getThresholdsForFEB(const std::string& dcmName, const int& port, std::vector<short>& thresholds) const;

private:
  class Data;
  std::unique_ptr<Data> data_;
};

}  // namespace dbutils::daqconfig
