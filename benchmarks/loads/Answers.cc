#include "benchmarks/loads/Answers.h"

namespace brio::benchmarks {
namespace {

/// A small prime, so that neighbours differ.
double Weight(std::size_t place) { return static_cast<double>(1 + place % 101); }

double AsNumber(std::int64_t value) { return static_cast<double>(value); }

}  // namespace

void Answers::AddBoard(std::size_t place, const BoardFacts& facts) {
  const double weight = Weight(place);
  sums_["installed boards"] += facts.installed ? 1 : 0;
  sums_["enabled boards"] += facts.enabled ? 1 : 0;
  sums_["modules"] += weight * (facts.block + 7 * facts.plane + 11 * facts.position);
  sums_["pixel masks"] += weight * facts.pixelMask;
  sums_["temperature controls"] += facts.temperatureEnabled ? weight : 0;
  sums_["temperatures"] += weight * static_cast<double>(facts.temperature);
  sums_["voltages"] += weight * facts.voltage;
  sums_["average gains"] += weight * static_cast<double>(facts.averageGain);
  double& gains = sums_["gains"];
  double& thresholds = sums_["thresholds"];
  for (std::size_t pixel = 0; pixel < kPixels; ++pixel) {
    const double ofPixel = Weight(place * kPixels + pixel);
    gains += ofPixel * static_cast<double>(facts.gains[pixel]);
    if (facts.thresholds != nullptr) { thresholds += ofPixel * facts.thresholds[pixel]; }
  }
}

void Answers::AddHardware(std::size_t place, const HardwareFacts& facts) {
  const double weight = Weight(place);
  sums_["FEBs"] += weight * (AsNumber(facts.febItem) + 7 * AsNumber(facts.febConnection));
  sums_["FEB fits"] += weight * static_cast<double>(facts.intercept + 100 * facts.slope);
  sums_["APDs"] += weight * (AsNumber(facts.apdItem) + 7 * AsNumber(facts.apdConnection));
  sums_["APD tests"] += weight * (AsNumber(facts.batch) + 7 * AsNumber(facts.targetDegC));
  sums_["APD voltages"] += weight * static_cast<double>(facts.vr);
  sums_["APD dates"] += weight * facts.dateAdded;
}

}  // namespace brio::benchmarks
