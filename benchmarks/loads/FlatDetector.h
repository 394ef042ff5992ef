#pragma once

#include <cstdint>
#include <vector>

#include "benchmarks/loads/Answers.h"

namespace brio::benchmarks {

/// 32 gains by pixel.
struct PixelGains {
  float byPixel[kPixels];
};

/// A far detector in flat arrays: one value for each board, or for each pixel of each board.
struct FlatDetector {
  std::vector<char> active = std::vector<char>(kDiBlocks * kDCMs);
  std::vector<char> installed = std::vector<char>(kBoards);
  std::vector<std::uint16_t> block = std::vector<std::uint16_t>(kBoards);
  std::vector<std::uint16_t> plane = std::vector<std::uint16_t>(kBoards);
  std::vector<std::uint16_t> position = std::vector<std::uint16_t>(kBoards);
  std::vector<char> enabled = std::vector<char>(kBoards);
  std::vector<std::int32_t> pixelMask = std::vector<std::int32_t>(kBoards);
  std::vector<std::int16_t> thresholds = std::vector<std::int16_t>(kBoards * kPixels);
  std::vector<char> temperatureEnabled = std::vector<char>(kBoards);
  std::vector<float> temperature = std::vector<float>(kBoards);
  std::vector<std::int32_t> voltage = std::vector<std::int32_t>(kBoards);
  std::vector<float> averageGain = std::vector<float>(kBoards);
  std::vector<float> gains = std::vector<float>(kBoards * kPixels, 100.0F);
};

inline Answers AnswersOf(const FlatDetector& detector, bool hasThresholds) {
  Answers answers;
  for (std::size_t i = 0; i < kBoards; ++i) {
    if (detector.active[i / kPorts] == 0) { continue; }
    answers.AddBoard(
        i, {detector.installed[i] != 0, detector.enabled[i] != 0, detector.block[i], detector.plane[i],
            detector.position[i], detector.pixelMask[i],
            hasThresholds && detector.enabled[i] != 0 ? &detector.thresholds[i * kPixels] : nullptr,
            detector.temperatureEnabled[i] != 0, detector.temperature[i], detector.voltage[i],
            &detector.gains[i * kPixels], detector.averageGain[i]});
  }
  return answers;
}

}  // namespace brio::benchmarks
