#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace brio::dbi {

/// What the settings loader learnt of a DCM's boards that their records do not tell: a value there may be a
/// default, or that of another board. Bit p of a mask stands for port p.
struct DCMSettingsFacts {
  static constexpr std::size_t kPorts = 64;

  std::uint64_t controls = 0;      ///< slow controls hold whether temperature control is on
  std::uint64_t temperatures = 0;  ///< slow controls hold a temperature
  std::uint64_t voltages = 0;      ///< slow controls hold a voltage
  std::uint64_t mapped = 0;        ///< the gains are those of the APD at the board's location
  std::uint64_t replaced = 0;      ///< the mean was out of range, so that all gains were set to 100
  /// The mean before it was replaced, by port; where `mapped` is set.
  std::array<float, kPorts> mean{};
  /// Bit k when pixel k of the APD was measured, by port; where `mapped` is set.
  std::array<std::uint32_t, kPorts> measuredPixels{};
};

/// In the order of the run's diblocks and of their DCMs.
using SettingsFacts = std::vector<std::vector<DCMSettingsFacts>>;

}  // namespace brio::dbi
