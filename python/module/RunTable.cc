#include "python/module/RunTable.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "database/Util.h"

namespace brio::python {
namespace {

using arrays::RunLine;
using arrays::Status;

constexpr std::size_t kShortestType = 16;
constexpr std::int64_t kMicroseconds = 1000000;
/// Numpy's "not a time".
constexpr std::int64_t kNoTime = std::numeric_limits<std::int64_t>::min();

struct Record {
  std::int64_t start;
  std::int64_t stop;
  std::int64_t duration;
  std::int64_t configuration;
  double pot;
  std::int32_t run;
  std::int32_t partition;
  std::int32_t subruns;
  std::int32_t diblocks;
  std::int32_t dcms;
  std::int32_t goodDiBlocks;
  Status startStatus;
  Status stopStatus;
  Status durationStatus;
  Status typeStatus;
  Status partitionStatus;
  Status configurationStatus;
  Status subrunsStatus;
  Status diblocksStatus;
  Status dcmsStatus;
  Status potStatus;
  Status goodDiBlocksStatus;
};

/// Of ".25" behind the seconds.
std::int64_t FractionOf(const std::string& time) {
  std::int64_t fraction = 0;
  auto digit = time.find('.');
  if (digit == std::string::npos) { return 0; }
  for (std::int64_t unit = kMicroseconds / 10; unit > 0 && ++digit < time.size(); unit /= 10) {
    if (time[digit] < '0' || time[digit] > '9') { break; }
    fraction += unit * (time[digit] - '0');
  }
  return fraction;
}

void SetTime(std::int64_t& value, Status& status, const arrays::Value<std::string>& time) {
  value = kNoTime;
  status = time.status;
  if (!time.IsKnown()) { return; }
  long seconds = 0;
  if (dbi::Util::TimeAsStringToTime_t(time.value, seconds)) {
    value = kMicroseconds * seconds + FractionOf(time.value);
  } else {
    status = Status::NotFinite;
  }
}

template <class T, class From>
void Set(T& value, Status& status, const arrays::Value<From>& from, T otherwise = T()) {
  value = from.IsKnown() ? static_cast<T>(from.value) : otherwise;
  status = from.status;
}

Record RecordOf(const RunLine& line) {
  Record record{};
  record.run = line.run;
  SetTime(record.start, record.startStatus, line.start);
  SetTime(record.stop, record.stopStatus, line.stop);
  Set(record.duration, record.durationStatus, line.duration);
  record.typeStatus = line.type.status;
  Set(record.partition, record.partitionStatus, line.partition);
  Set(record.configuration, record.configurationStatus, line.configuration);
  Set(record.subruns, record.subrunsStatus, line.subruns);
  Set(record.diblocks, record.diblocksStatus, line.diblocks);
  Set(record.dcms, record.dcmsStatus, line.dcms);
  Set(record.pot, record.potStatus, line.pot, std::numeric_limits<double>::quiet_NaN());
  Set(record.goodDiBlocks, record.goodDiBlocksStatus, line.goodDiBlocks);
  return record;
}

std::vector<Column> ColumnsOfRun() {
  return {
      {"run", "i4", offsetof(Record, run)},
      {"start", "M8[us]", offsetof(Record, start), offsetof(Record, startStatus)},
      {"stop", "M8[us]", offsetof(Record, stop), offsetof(Record, stopStatus)},
      {"duration", "i8", offsetof(Record, duration), offsetof(Record, durationStatus)},
      {"partition", "i4", offsetof(Record, partition), offsetof(Record, partitionStatus)},
      {"configuration", "i8", offsetof(Record, configuration), offsetof(Record, configurationStatus)},
      {"subruns", "i4", offsetof(Record, subruns), offsetof(Record, subrunsStatus)},
      {"diblocks", "i4", offsetof(Record, diblocks), offsetof(Record, diblocksStatus)},
      {"dcms", "i4", offsetof(Record, dcms), offsetof(Record, dcmsStatus)},
      {"pot", "f8", offsetof(Record, pot), offsetof(Record, potStatus)},
      {"good_diblocks", "i4", offsetof(Record, goodDiBlocks), offsetof(Record, goodDiBlocksStatus)},
      {"start_status", "u1", offsetof(Record, startStatus)},
      {"stop_status", "u1", offsetof(Record, stopStatus)},
      {"duration_status", "u1", offsetof(Record, durationStatus)},
      {"run_type_status", "u1", offsetof(Record, typeStatus)},
      {"partition_status", "u1", offsetof(Record, partitionStatus)},
      {"configuration_status", "u1", offsetof(Record, configurationStatus)},
      {"subruns_status", "u1", offsetof(Record, subrunsStatus)},
      {"diblocks_status", "u1", offsetof(Record, diblocksStatus)},
      {"dcms_status", "u1", offsetof(Record, dcmsStatus)},
      {"pot_status", "u1", offsetof(Record, potStatus)},
      {"good_diblocks_status", "u1", offsetof(Record, goodDiBlocksStatus)},
  };
}

}  // namespace

Table TableOf(const std::vector<RunLine>& runs) {
  std::vector<Record> records;
  std::vector<std::string> types;
  records.reserve(runs.size());
  types.reserve(runs.size());
  for (const auto& line : runs) {
    records.push_back(RecordOf(line));
    types.push_back(line.type.IsKnown() ? line.type.value : std::string());
  }
  TextColumns texts;
  texts.Add({"run_type", {}, 0, offsetof(Record, typeStatus)}, kShortestType, std::move(types));
  return texts.TableOf(records, ColumnsOfRun());
}

Table TableOf(std::vector<dbi::DQSubrunInfo> subruns) {
  using dbi::DQSubrunInfo;
  const std::vector<Column> columns{{"run", "i4", offsetof(DQSubrunInfo, run)},
                                    {"subrun", "i2", offsetof(DQSubrunInfo, subrun)},
                                    {"flag", "i4", offsetof(DQSubrunInfo, flag)},
                                    {"version", "i4", offsetof(DQSubrunInfo, version)},
                                    {"miprate", "f4", offsetof(DQSubrunInfo, miprate)},
                                    {"good_diblocks", "i4", offsetof(DQSubrunInfo, ngooddb)},
                                    {"slices", "f4", offsetof(DQSubrunInfo, numslc)},
                                    {"track_fraction", "f4", offsetof(DQSubrunInfo, trkfrac)}};
  auto missing = MissingOf(subruns.data(), subruns.size(), sizeof(DQSubrunInfo), columns);
  return TableOf(std::move(subruns), std::move(missing), columns);
}

}  // namespace brio::python
