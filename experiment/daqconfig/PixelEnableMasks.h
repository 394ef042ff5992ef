#pragma once

#include <memory>
#include <string>
#include <vector>

#include "framework/Export.h"

namespace dbutils::daqconfig {

/// Which FEBs of a set of DCMs, and which of their 32 pixels, a DAQ configuration enables.
///
/// The database is that of the detector named by the environment variable BRIODAQ_ENVIRONMENT; everything is
/// read at construction, in one statement, and answered from memory. An object is used by one thread at a
/// time. Questions about a DCM that was not found, or a port outside 0 to 63, answer "not enabled" and leave
/// their output argument as it was.
class BRIO_EXPORT PixelEnableMasks {
public:
  /// \param configId  the DAQ configuration's id
  /// \param dcmNames  application names of the DCMs wanted; for an empty list nothing is asked
  /// Never throws for what the database does: a failure is logged and leaves the data invalid.
  PixelEnableMasks(const long long& configId, std::vector<std::string> dcmNames);
  virtual ~PixelEnableMasks();
  PixelEnableMasks(const PixelEnableMasks&) = delete;
  PixelEnableMasks& operator=(const PixelEnableMasks&) = delete;

  /// True when the configuration exists and every DCM asked for was found; true for an empty list of DCMs.
  bool hasValidData() const;

  /// The DCM's 64 FEB bits, bit p for port p. False when the DCM was not found.
  bool getFEBEnableMask(const std::string& dcmName, long long& mask) const;
  bool febIsEnabled(const std::string& dcmName, const int& port) const;
  /// The board's 32 pixel bits, bit k for pixel k. False when DCM or port was not found.
  bool getPixelEnableMask(const std::string& dcmName, const int& port, int& mask) const;
  /// How many bits of the board's pixel mask are set; 0 when DCM or port was not found.
  int getEnabledPixelCountForFEB(const std::string& dcmName, const int& port) const;

private:
  class Data;
  std::unique_ptr<Data> data_;
};

}  // namespace dbutils::daqconfig
