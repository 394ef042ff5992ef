#include "python/module/BoardTable.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace brio::python {
namespace {

using arrays::Board;
using arrays::Status;

constexpr std::size_t kShortestSerial = 16;
constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();

/// What is no text. No float shows a default: a missing one is not a number.
struct Record {
  double threshold;
  float gain;
  float measuredGain;
  float temperature;
  std::int32_t voltage;
  std::uint16_t plane;
  std::uint8_t diblock;
  std::uint8_t dcm;
  std::uint8_t port;
  std::uint8_t module;
  std::uint8_t enabledPixels;
  bool installed;
  bool enabled;
  bool temperatureControl;
  Status presence;
  Status installedStatus;
  Status enabledStatus;
  Status enabledPixelsStatus;
  Status thresholdStatus;
  Status gainStatus;
  Status measuredGainStatus;
  Status voltageStatus;
  Status temperatureStatus;
  Status temperatureControlStatus;
  Status febStatus;
  Status apdStatus;
};

template <class T, class From>
void Set(T& value, Status& status, const arrays::Value<From>& from, T otherwise = T()) {
  value = from.IsKnown() ? static_cast<T>(from.value) : otherwise;
  status = from.status;
}

Record RecordOf(const Board& board) {
  Record record{};
  record.plane = board.place.plane;
  record.diblock = board.place.diblock;
  record.dcm = board.place.dcm;
  record.port = board.place.port;
  record.module = board.place.module;
  record.presence = board.presence;
  Set(record.installed, record.installedStatus, board.installed);
  Set(record.enabled, record.enabledStatus, board.enabled);
  Set(record.enabledPixels, record.enabledPixelsStatus, board.enabledPixels);
  Set(record.threshold, record.thresholdStatus, board.threshold, static_cast<double>(kNothing));
  Set(record.gain, record.gainStatus, board.gain, kNothing);
  Set(record.measuredGain, record.measuredGainStatus, board.measuredGain, kNothing);
  Set(record.voltage, record.voltageStatus, board.voltage);
  Set(record.temperature, record.temperatureStatus, board.temperature, kNothing);
  Set(record.temperatureControl, record.temperatureControlStatus, board.temperatureControl);
  record.febStatus = board.feb.status;
  record.apdStatus = board.apd.status;
  return record;
}

std::vector<Column> ColumnsOfRecord() {
  return {{"diblock", "u1", offsetof(Record, diblock)},
          {"dcm", "u1", offsetof(Record, dcm)},
          {"port", "u1", offsetof(Record, port)},
          {"plane", "u2", offsetof(Record, plane)},
          {"module", "u1", offsetof(Record, module)},
          {"installed", "?", offsetof(Record, installed), offsetof(Record, installedStatus)},
          {"enabled", "?", offsetof(Record, enabled), offsetof(Record, enabledStatus)},
          {"enabled_pixels", "u1", offsetof(Record, enabledPixels), offsetof(Record, enabledPixelsStatus)},
          {"threshold", "f8", offsetof(Record, threshold), offsetof(Record, thresholdStatus)},
          {"gain", "f4", offsetof(Record, gain), offsetof(Record, gainStatus)},
          {"measured_gain", "f4", offsetof(Record, measuredGain), offsetof(Record, measuredGainStatus)},
          {"voltage", "i4", offsetof(Record, voltage), offsetof(Record, voltageStatus)},
          {"temperature", "f4", offsetof(Record, temperature), offsetof(Record, temperatureStatus)},
          {"temperature_control", "?", offsetof(Record, temperatureControl),
           offsetof(Record, temperatureControlStatus)},
          {"presence", "u1", offsetof(Record, presence)},
          {"installed_status", "u1", offsetof(Record, installedStatus)},
          {"enabled_status", "u1", offsetof(Record, enabledStatus)},
          {"enabled_pixels_status", "u1", offsetof(Record, enabledPixelsStatus)},
          {"threshold_status", "u1", offsetof(Record, thresholdStatus)},
          {"gain_status", "u1", offsetof(Record, gainStatus)},
          {"measured_gain_status", "u1", offsetof(Record, measuredGainStatus)},
          {"voltage_status", "u1", offsetof(Record, voltageStatus)},
          {"temperature_status", "u1", offsetof(Record, temperatureStatus)},
          {"temperature_control_status", "u1", offsetof(Record, temperatureControlStatus)},
          {"feb_status", "u1", offsetof(Record, febStatus)},
          {"apd_status", "u1", offsetof(Record, apdStatus)}};
}

}  // namespace

Table TableOf(const arrays::Boards& boards) {
  std::vector<Record> records;
  std::vector<std::string> febs;
  std::vector<std::string> apds;
  records.reserve(boards.boards.size());
  febs.reserve(boards.boards.size());
  apds.reserve(boards.boards.size());
  for (const auto& board : boards.boards) {
    records.push_back(RecordOf(board));
    febs.push_back(board.feb.IsKnown() ? board.feb.value : std::string());
    apds.push_back(board.apd.IsKnown() ? board.apd.value : std::string());
  }
  TextColumns texts;
  texts.Add({"feb", {}, 0, offsetof(Record, febStatus)}, kShortestSerial, std::move(febs));
  texts.Add({"apd", {}, 0, offsetof(Record, apdStatus)}, kShortestSerial, std::move(apds));
  return texts.TableOf(records, ColumnsOfRecord());
}

}  // namespace brio::python
