#pragma once

#include <cstdint>

#include "framework/Export.h"

namespace brio::arrays {

/// Whether a value is known, and if it is not, why. A value that is not known shows what the question of
/// RunHistory answers in its place, mostly a default.
enum class Status : std::uint8_t {
  Known,
  NotInRun,                ///< the diblock or the DCM took no part in the run
  Masked,                  ///< the good-diblock mask leaves the diblock out
  NotInstalled,            ///< nothing is installed on the port
  NotEnabled,              ///< the DAQ configuration does not enable the board, or the pixel
  NotRecorded,             ///< the tables hold no value for the board
  NeverMeasured,           ///< no gain of the APD, or of the pixel, was measured
  LeftOut,                 ///< gains exist, but the diblock's number exceeds the run's count of diblocks
  Replaced,                ///< the mean gain was out of range, so that 100 stands for it and for each pixel
  NotFinite,               ///< recorded as no number, or as infinite
  NotForDetector,          ///< nobody records it for this detector
  Simulated,               ///< a simulated run has no configuration, no settings and no real hardware
  RunNotLoaded,            ///< the run itself could not be read
  HardwareNotLoaded,       ///< what is installed could not be read
  ConfigurationNotLoaded,  ///< the DAQ configuration could not be read
  SettingsNotLoaded,       ///< gains, voltages and temperatures could not be read
  Superseded,              ///< serials are kept of one run at a time, and another was loaded since
  NotAsked                 ///< nobody asked for it
};

constexpr int kStatuses = static_cast<int>(Status::NotAsked) + 1;

/// In few words, as tables have it: "not in the run".
BRIO_EXPORT const char* NameOf(Status status);

/// As a sentence for a reader who asks why: "the DAQ configuration does not enable it".
BRIO_EXPORT const char* ReasonOf(Status status);

/// A value with its status.
template <class T>
struct Value {
  T value{};
  Status status = Status::RunNotLoaded;

  bool IsKnown() const { return status == Status::Known; }
};

}  // namespace brio::arrays
