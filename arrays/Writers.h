#pragma once

#include <iosfwd>
#include <vector>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "arrays/Records.h"
#include "arrays/Runs.h"
#include "framework/Export.h"

/// Boards, channels and runs as CSV, JSON and lines of JSON. The fields have the same names in all three,
/// with the unit at the end of the name where there is one: _adc (ADC counts), _v (volts), _c (degrees
/// Celsius), _s (seconds). Each value is followed by its status (Status.h) in a field of its own, and is
/// empty (CSV) or null unless it is known, or replaced by the default; then measured_gain has what was
/// measured. Times are UTC: "…Z".
namespace brio::arrays {

/// run, diblock, dcm, port, plane, module, installed, enabled, enabled_pixels, threshold_adc (the mean of the
/// enabled pixels), gain (the mean), measured_gain, voltage_v, temperature_c, temperature_control, feb, apd.
BRIO_EXPORT void Write(std::ostream& stream, Form form, const Boards& boards);

/// run, channel, plane, cell, diblock, dcm, port, pixel, installed, enabled, threshold_adc, gain,
/// measured_gain (without a status of its own), voltage_v, temperature_c.
/// \param boards  of the same run
BRIO_EXPORT void Write(std::ostream& stream, Form form, const Channels& channels, const Boards& boards);

/// run, start, stop, duration_s, type, partition, configuration, subruns, diblocks, dcms, pot.
BRIO_EXPORT void Write(std::ostream& stream, Form form, const std::vector<RunLine>& runs);

}  // namespace brio::arrays
