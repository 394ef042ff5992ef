#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace brio::benchmarks {

constexpr std::size_t kDiBlocks = 14;
constexpr std::size_t kDCMs = 12;
constexpr std::size_t kPorts = 64;
constexpr std::size_t kPixels = 32;
constexpr std::size_t kBoards = kDiBlocks * kDCMs * kPorts;

/// Where a board of the far detector stands in a list of all of them. DCM and diblock count from 1.
constexpr std::size_t PlaceOf(std::size_t diblock, std::size_t dcm, std::size_t port) {
  return ((diblock - 1) * kDCMs + dcm - 1) * kPorts + port;
}

/// What a program found out about one board.
struct BoardFacts {
  bool installed;
  bool enabled;
  int block;
  int plane;
  int position;
  std::int32_t pixelMask;
  const std::int16_t* thresholds;  ///< 32, or null
  bool temperatureEnabled;
  float temperature;
  std::int32_t voltage;
  const float* gains;  ///< 32
  float averageGain;
};

/// What a program found out about the hardware at one place.
struct HardwareFacts {
  std::int64_t febItem;
  std::int64_t febConnection;
  float intercept;
  float slope;
  std::int64_t apdItem;
  std::int64_t apdConnection;
  std::int64_t batch;
  std::int64_t targetDegC;
  float vr;
  double dateAdded;
};

/// Sums over everything that a program read, by name. Each value is weighted by its place, so that two
/// programs agree only when they put the same values in the same places.
class Answers {
public:
  void AddBoard(std::size_t place, const BoardFacts& facts);
  void AddHardware(std::size_t place, const HardwareFacts& facts);

  const std::map<std::string, double>& Sums() const { return sums_; }

private:
  std::map<std::string, double> sums_;
};

}  // namespace brio::benchmarks
