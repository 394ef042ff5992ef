#pragma once

#include <cstdint>
#include <vector>

#include "benchmarks/loads/FlatDetector.h"

namespace brio::benchmarks {

struct InstalledFEB {
  std::int32_t item = -1;
  std::int32_t connection = 0;
  float intercept = 0.0F;
  float slope = 0.0F;
};

struct InstalledAPD {
  std::int32_t item = -1;
  std::int32_t connection = -1;
  std::int32_t batch = -1;
  std::int32_t targetDegC = 0;
  float vr = 0.0F;
  std::int32_t gains = -1;
  double dateAdded = -1.0;
};

/// What hangs on a module.
struct Module {
  InstalledFEB feb;
  InstalledAPD apd;
};

struct Hardware {
  std::vector<std::int32_t> gainsOfSerial;  ///< index into `gains`, -1 for none
  std::vector<PixelGains> gains;
  std::vector<Module> modules;                                                  ///< by number
  std::vector<std::int32_t> moduleAt = std::vector<std::int32_t>(kBoards, -1);  ///< by place, -1 for none

  Module& At(int number) {
    const auto index = static_cast<std::size_t>(number);
    if (index >= modules.size()) { modules.resize(index + index / 4 + 1024); }
    return modules[index];
  }
  const Module* AtPlace(std::size_t place) const {
    return moduleAt[place] < 0 ? nullptr : &modules[static_cast<std::size_t>(moduleAt[place])];
  }
};

/// Gains come to the boards that have a module; a mean too far from 100 makes them all 100.
void StoreGains(const Hardware& hardware, FlatDetector& detector);
void AddHardware(const Hardware& hardware, Answers& answers);

}  // namespace brio::benchmarks
