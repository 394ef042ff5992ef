#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "RunHistory/PixelGains.h"
#include "framework/Export.h"

namespace brio::dbi {

/// The form of these bytes; another form needs another name (docs/snapshots.md).
inline constexpr const char* kGainsDigest = "gains by APD and DAQ pixel, 1";

/// Gains as bytes, to the bit.
BRIO_EXPORT_PRIVATE std::string GainsBytes(const GainsBySerial& gains);

/// The gains that gave these bytes; nothing when none could.
BRIO_EXPORT_PRIVATE std::optional<GainsBySerial> GainsFrom(std::string_view bytes);

}  // namespace brio::dbi
