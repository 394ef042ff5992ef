#include "benchmarks/loads/FlatHardware.h"

#include <cmath>
#include <cstring>

namespace brio::benchmarks {

void StoreGains(const Hardware& hardware, FlatDetector& detector) {
  static const PixelGains kNominal = [] {
    PixelGains gains{};
    for (float& gain : gains.byPixel) {
      gain = 100.0F;
    }
    return gains;
  }();
  for (std::size_t place = 0; place < kBoards; ++place) {
    const Module* module = hardware.AtPlace(place);
    if (module == nullptr || detector.installed[place] == 0) { continue; }
    const auto index = module->apd.gains;
    const PixelGains* gains = index < 0 ? &kNominal : &hardware.gains[static_cast<std::size_t>(index)];
    float sum = 0.0F;
    for (const float gain : gains->byPixel) {
      sum += gain;
    }
    detector.averageGain[place] = sum / static_cast<float>(kPixels);
    if (std::fabs(100.0 - static_cast<double>(detector.averageGain[place])) > 10.0) {
      gains = &kNominal;
      detector.averageGain[place] = 100.0F;
    }
    std::memcpy(&detector.gains[place * kPixels], gains->byPixel, sizeof gains->byPixel);
  }
}

void AddHardware(const Hardware& hardware, Answers& answers) {
  for (std::size_t place = 0; place < kBoards; ++place) {
    const Module* module = hardware.AtPlace(place);
    if (module == nullptr) { continue; }
    const auto& [feb, apd] = *module;
    const bool hasAPD = apd.item >= 0;
    answers.AddHardware(
        place, {feb.item, feb.connection, feb.intercept, feb.slope, apd.item, apd.connection, apd.batch,
                hasAPD ? apd.targetDegC : INT32_MAX, hasAPD ? apd.vr : static_cast<float>(UINT32_MAX),
                hasAPD ? apd.dateAdded : 0.0});
  }
}

}  // namespace brio::benchmarks
