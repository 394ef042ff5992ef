#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "RunHistory/RunHistory.h"
#include "framework/Export.h"

/// The questions of RunHistory about a channel with answers that are there or are not: nothing stands for a
/// default. Each loads what it needs, as the question beside it does, and throws what that throws.
namespace brio::arrays {

/// ADC counts.
BRIO_EXPORT std::optional<int> Threshold(brio::dbi::RunHistory& history, std::uint32_t channel);
/// Mean gain of the channel's board. Nothing where it was not measured, or was out of range and replaced.
BRIO_EXPORT std::optional<float> Gain(brio::dbi::RunHistory& history, std::uint32_t channel);
/// The channel's gain; nothing where it was not measured, or all of its board were replaced.
BRIO_EXPORT std::optional<float> PixelGain(brio::dbi::RunHistory& history, std::uint32_t channel);
/// Of the channel's APD, in degrees Celsius; nothing where slow controls hold none.
BRIO_EXPORT std::optional<float> Temperature(brio::dbi::RunHistory& history, std::uint32_t channel);
/// Bias of the channel's APD, in volts.
BRIO_EXPORT std::optional<int> Voltage(brio::dbi::RunHistory& history, std::uint32_t channel);
/// Whether the temperature control of the channel's APD is on.
BRIO_EXPORT std::optional<bool> TemperatureControl(brio::dbi::RunHistory& history, std::uint32_t channel);
/// Serials of the channel's board and APD, for `Birch`; nothing once another run's hardware was loaded.
BRIO_EXPORT std::optional<std::string> FEBSerial(brio::dbi::RunHistory& history, std::uint32_t channel);
BRIO_EXPORT std::optional<std::string> APDSerial(brio::dbi::RunHistory& history, std::uint32_t channel);

/// The same by plane and cell.
BRIO_EXPORT std::optional<int> Threshold(brio::dbi::RunHistory& history, const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<float> Gain(brio::dbi::RunHistory& history, const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<float> PixelGain(brio::dbi::RunHistory& history, const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<float> Temperature(brio::dbi::RunHistory& history, const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<int> Voltage(brio::dbi::RunHistory& history, const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<bool> TemperatureControl(brio::dbi::RunHistory& history,
                                                   const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<std::string> FEBSerial(brio::dbi::RunHistory& history,
                                                 const geo::OfflineChan& channel);
BRIO_EXPORT std::optional<std::string> APDSerial(brio::dbi::RunHistory& history,
                                                 const geo::OfflineChan& channel);

}  // namespace brio::arrays
