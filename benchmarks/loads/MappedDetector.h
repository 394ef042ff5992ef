#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "benchmarks/loads/Answers.h"

namespace brio::benchmarks {

/// A far detector as most people would write it down: records that hold records, and ordered maps.
struct Board {
  bool installed = false;
  bool enabled = false;
  int block = 0;
  int plane = 0;
  int position = 0;
  int pixelMask = 0;
  std::vector<std::int16_t> thresholds;
  bool temperatureEnabled = false;
  float temperature = -100.0F;
  int voltage = 0;
  std::vector<float> gains = std::vector<float>(32, 100.0F);
  float averageGain = 0.0F;
};

struct Concentrator {
  bool active = false;
  std::string name;
  std::vector<Board> boards;
};

struct APD {
  std::string serial;
  int item = -1;
  int batch = -1;
  int targetDegC = INT32_MAX;
  float vr = static_cast<float>(UINT32_MAX);
  int module = -1;
  int connection = -1;
  double dateAdded = 0.0;
  std::vector<float> gains = std::vector<float>(32, 100.0F);
};

struct FEB {
  std::string serial;
  float intercept = 0.0F;
  float slope = 0.0F;
  int item = 0;
  int module = 0;
  int connection = 0;
  double dateAdded = 0.0;
};

struct MappedDetector {
  using Place = std::tuple<int, int, int>;  ///< diblock, DCM, port

  std::map<int, std::vector<Concentrator>> diblocks;  ///< DCMs by number - 1
  std::map<std::string, std::vector<float>> gains;    ///< by APD serial
  std::map<int, APD> apds;                            ///< by module
  std::map<int, FEB> febs;                            ///< by module
  std::map<Place, std::pair<FEB, APD>> hardware;

  void AddConcentrator(const std::string& name);
  /// Whether the run has the DCM of a name.
  bool Has(const std::string& name) const;
  /// The DCM of a name, "dcm-d-DD-CC".
  Concentrator& Named(const std::string& name);
  void MarkInstalled(int diblock, int dcm, int port, int block, int plane, int position);
  void SetMasks(const std::string& name, std::uint64_t boards, const std::vector<std::int32_t>& pixelMasks);
  void SetThresholds(const std::string& name, const std::vector<std::int16_t>& thresholds);
  /// A temperature that was not recorded reads as that of the board before, or as -100.
  void CarryTemperatures(const std::map<Place, bool>& recorded);
  void AddAPD(const APD& apd);
  void AddFEB(const FEB& feb);
  void Connect(int diblock, int dcm, int port, int module);
  void StoreGains();
  Answers GetAnswers() const;
};

/// The tester's spot, by column text and row, as a pixel.
std::size_t PixelIn(const std::string& column, int row);
/// Seconds since 1970, with hours, minutes and seconds taken one place to the right of where they stand.
double SecondsIn(const std::string& date);

}  // namespace brio::benchmarks
