#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "arrays/Records.h"
#include "arrays/Runs.h"

/// The fields of a board, a channel and a run, in their order (Writers.h), for any writer that has the
/// members Add and AddNothing of RecordWriter.
namespace brio::arrays {

template <class Writer>
void AddPlace(Writer& writer, unsigned int diblock, unsigned int dcm, unsigned int port) {
  writer.Add("diblock", diblock);
  writer.Add("dcm", dcm);
  writer.Add("port", port);
}

template <class Writer>
void AddFields(Writer& writer, int run, const Board& board) {
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

/// \param measured  the gain that was measured, if any was (Channels::MeasuredGain)
/// \param board     the channel's
template <class Writer>
void AddFields(Writer& writer, int run, const Channel& channel, const std::optional<float>& measured,
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

template <class Writer>
void AddFields(Writer& writer, const RunLine& line) {
  const auto zoned = [](const Value<std::string>& time) {
    return Value<std::string>{WithZone(time.value), time.status};
  };
  writer.Add("run", line.run);
  writer.Add("start", "start_status", zoned(line.start));
  writer.Add("stop", "stop_status", zoned(line.stop));
  writer.Add("duration_s", "duration_status", line.duration);
  writer.Add("type", "type_status", line.type);
  writer.Add("partition", "partition_status", line.partition);
  writer.Add("configuration", "configuration_status", line.configuration);
  writer.Add("subruns", "subruns_status", line.subruns);
  writer.Add("diblocks", "diblocks_status", line.diblocks);
  writer.Add("dcms", "dcms_status", line.dcms);
  writer.Add("pot", "pot_status", line.pot);
}

/// Gives a writer the names of the fields and every record of a run.
template <class Writer>
void WriteRecords(Writer& writer, const Boards& boards) {
  writer.BeginNames();
  AddFields(writer, boards.run, Board());
  writer.EndNames();
  for (const auto& board : boards.boards) {
    writer.Begin();
    AddFields(writer, boards.run, board);
    writer.End();
  }
  writer.Finish();
}

template <class Writer>
void WriteRecords(Writer& writer, const Channels& channels, const Boards& boards) {
  const Board noBoard;
  writer.BeginNames();
  AddFields(writer, boards.run, Channel(), 0.0F, noBoard);
  writer.EndNames();
  for (std::size_t i = 0; i < channels.channels.size(); ++i) {
    const std::size_t board = i / kPixels;
    writer.Begin();
    AddFields(writer, boards.run, channels.channels[i], channels.MeasuredGain(i),
              board < boards.boards.size() ? boards.boards[board] : noBoard);
    writer.End();
  }
  writer.Finish();
}

template <class Writer>
void WriteRecords(Writer& writer, const std::vector<RunLine>& runs) {
  writer.BeginNames();
  AddFields(writer, RunLine());
  writer.EndNames();
  for (const auto& line : runs) {
    writer.Begin();
    AddFields(writer, line);
    writer.End();
  }
  writer.Finish();
}

}  // namespace brio::arrays
