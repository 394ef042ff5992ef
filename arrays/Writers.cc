#include "arrays/Writers.h"

namespace brio::arrays {
namespace {

void AddPlace(RecordWriter& writer, unsigned int diblock, unsigned int dcm, unsigned int port) {
  writer.Add("diblock", diblock);
  writer.Add("dcm", dcm);
  writer.Add("port", port);
}

void AddFields(RecordWriter& writer, int run, const Board& board) {
  const BoardPlace& place = board.place;
  writer.Add("run", run);
  AddPlace(writer, place.diblock, place.dcm, place.port);
  writer.Add("plane", std::uint32_t{place.plane});
  writer.Add("module", std::uint32_t{place.module});
  writer.Add("installed", "installed_status", board.installed);
  writer.Add("enabled", "enabled_status", board.enabled);
  writer.Add("enabled_pixels", "enabled_pixels_status", board.enabledPixels);
  writer.Add("threshold_adc", "threshold_status", board.threshold);
  writer.Add("gain", "gain_status", board.gain);
  writer.Add("measured_gain", "measured_gain_status", board.measuredGain);
  writer.Add("voltage_v", "voltage_status", board.voltage);
  writer.Add("temperature_c", "temperature_status", board.temperature);
  writer.Add("temperature_control", "temperature_control_status", board.temperatureControl);
  writer.Add("feb", "feb_status", board.feb);
  writer.Add("apd", "apd_status", board.apd);
}

void AddFields(RecordWriter& writer, int run, const Channel& channel, const std::optional<float>& measured,
               const Board& board) {
  const ChannelPlace& place = channel.place;
  writer.Add("run", run);
  writer.Add("channel", place.daqChannel);
  writer.Add("plane", std::uint32_t{place.plane});
  writer.Add("cell", std::uint32_t{place.cell});
  AddPlace(writer, place.diblock, place.dcm, place.port);
  writer.Add("pixel", std::uint32_t{place.pixel});
  writer.Add("installed", "installed_status", board.installed);
  writer.Add("enabled", "enabled_status", channel.enabled, channel.enabledStatus);
  writer.Add("threshold_adc", "threshold_status", int{channel.threshold}, channel.thresholdStatus);
  writer.Add("gain", "gain_status", channel.gain, channel.gainStatus);
  if (measured) {
    writer.Add("measured_gain", *measured);
  } else {
    writer.AddNothing("measured_gain");
  }
  writer.Add("voltage_v", "voltage_status", board.voltage);
  writer.Add("temperature_c", "temperature_status", board.temperature);
}

Value<std::string> Zoned(const Value<std::string>& time) { return {WithZone(time.value), time.status}; }

void AddFields(RecordWriter& writer, const RunLine& line) {
  writer.Add("run", line.run);
  writer.Add("start", "start_status", Zoned(line.start));
  writer.Add("stop", "stop_status", Zoned(line.stop));
  writer.Add("duration_s", "duration_status", line.duration);
  writer.Add("type", "type_status", line.type);
  writer.Add("partition", "partition_status", line.partition);
  writer.Add("configuration", "configuration_status", line.configuration);
  writer.Add("subruns", "subruns_status", line.subruns);
  writer.Add("diblocks", "diblocks_status", line.diblocks);
  writer.Add("dcms", "dcms_status", line.dcms);
  writer.Add("pot", "pot_status", line.pot);
}

/// Writes the names of the fields, and every record; `add` adds the fields of the record of an index, or of
/// an empty one.
template <class Record, class Add>
void WriteAll(std::ostream& stream, Form form, std::size_t count, const Record& empty, const Add& add,
              const Record* records) {
  RecordWriter writer(stream, form);
  writer.BeginNames();
  add(writer, empty, std::size_t{0});
  writer.EndNames();
  for (std::size_t i = 0; i < count; ++i) {
    writer.Begin();
    add(writer, records[i], i);
    writer.End();
  }
  writer.Finish();
}

}  // namespace

void Write(std::ostream& stream, Form form, const Boards& boards) {
  const auto add = [&](RecordWriter& writer, const Board& board, std::size_t) {
    AddFields(writer, boards.run, board);
  };
  WriteAll(stream, form, boards.boards.size(), Board(), add, boards.boards.data());
}

void Write(std::ostream& stream, Form form, const Channels& channels, const Boards& boards) {
  const Board noBoard;
  const auto add = [&](RecordWriter& writer, const Channel& channel, std::size_t index) {
    const std::size_t board = index / kPixels;
    const bool isThere = index < channels.channels.size() && board < boards.boards.size();
    AddFields(writer, boards.run, channel, isThere ? channels.MeasuredGain(index) : std::nullopt,
              isThere ? boards.boards[board] : noBoard);
  };
  WriteAll(stream, form, channels.channels.size(), Channel(), add, channels.channels.data());
}

void Write(std::ostream& stream, Form form, const std::vector<RunLine>& runs) {
  const auto add = [](RecordWriter& writer, const RunLine& line, std::size_t) { AddFields(writer, line); };
  WriteAll(stream, form, runs.size(), RunLine(), add, runs.data());
}

}  // namespace brio::arrays
