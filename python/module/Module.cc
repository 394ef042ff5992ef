// The compiled part of the Python package: functions that give whole tables. All else is Python.
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "RunHistory/DetInfo.h"
#include "arrays/Layout.h"
#include "arrays/Runs.h"
#include "arrays/Status.h"
#include "database/ConnectionStatistics.h"
#include "python/module/Columns.h"
#include "python/module/Failure.h"
#include "python/module/LoadedRun.h"
#include "python/module/RunTable.h"
#include "python/module/Turn.h"
#include "snapshot/Saver.h"

namespace brio::python {
namespace {

namespace py = pybind11;
using briodaq::cnv::DetInfo;

constexpr int kMostDetectors = 64;

std::vector<std::string> Detectors() {
  std::vector<std::string> names;
  for (int id = 1; id < kMostDetectors; ++id) {
    if (DetInfo::DetIdOk(id)) { names.push_back(DetInfo::GetName(id)); }
  }
  return names;
}

const arrays::Layout& LayoutOf(const std::string& detector) {
  if (!DetInfo::DetNameOk(detector)) {
    throw std::invalid_argument("there is no detector \"" + detector + "\"");
  }
  return arrays::Layout::Of(static_cast<briodaq::cnv::DetId>(DetInfo::GetId(detector)));
}

py::object IndexOrNone(std::size_t index) {
  return index == arrays::kNowhere ? py::object(py::none()) : py::object(py::int_(index));
}

/// By plane and cell the index of the channel; -1 where the plane has no such cell.
py::array ChannelsByPlane(const std::string& detector) {
  const arrays::Layout& layout = LayoutOf(detector);
  int cells = 0;
  for (int plane = 0; plane < layout.Planes(); ++plane) {
    cells = std::max(cells, layout.CellsOf(plane));
  }
  const auto width = static_cast<std::size_t>(cells);
  std::vector<std::int32_t> indexes(static_cast<std::size_t>(layout.Planes()) * width, -1);
  for (std::size_t i = 0; i < layout.Channels().size(); ++i) {
    const auto& place = layout.Channels()[i];
    indexes[place.plane * width + place.cell] = static_cast<std::int32_t>(i);
  }
  const auto count = static_cast<py::ssize_t>(indexes.size());
  return Owned(std::move(indexes), py::dtype("i4"), count).attr("reshape")(layout.Planes(), cells);
}

py::tuple Pair(const Table& table) { return py::make_tuple(table.data, table.missing); }

py::tuple ListRuns(const Circumstances& circumstances, const std::string& detector,
                   const arrays::RunSelection& selection) {
  LayoutOf(detector);
  std::optional<std::vector<arrays::RunLine>> runs;
  InTurn(circumstances, [&] {
    runs = arrays::ListRuns(detector, selection);
    if (!runs) {
      const std::string complaint = FirstComplaint();
      throw Failure(Failure::Kind::Database,
                    "the runs of " + detector +
                        " cannot be read: " + (complaint.empty() ? "the log tells why" : complaint),
                    "BrioDatabase");
    }
  });
  return Pair(TableOf(*runs));
}

py::tuple Quality(const Circumstances& circumstances, const std::string& detector, int number) {
  LayoutOf(detector);
  std::vector<dbi::DQSubrunInfo> subruns;
  InTurn(circumstances, [&] {
    subruns = MakeRun(detector, number, {}).GetDQSubrunInfo();
    const std::string complaint = FirstComplaint();
    if (!complaint.empty()) {
      throw Failure(Failure::Kind::Database, "the data quality cannot be read: " + complaint, "BrioDatabase");
    }
  });
  return Pair(TableOf(std::move(subruns)));
}

/// \return of every run whether it was saved as missing
std::vector<bool> Save(const Circumstances& circumstances, const std::string& path,
                       const std::vector<std::pair<std::string, int>>& runs, bool append) {
  for (const auto& run : runs) {
    LayoutOf(run.first);
  }
  std::vector<bool> missing;
  InTurn(circumstances, [&] {
    using snapshot::Saver;
    Saver saver(path, append ? Saver::Old::Append : Saver::Old::Replace);
    saver.AlsoAsk(
        [](const std::string& detector, int run) { arrays::ListRuns(detector, arrays::AllOf(run)); });
    for (const auto& [detector, run] : runs) {
      const auto saved = saver.Save(detector, run);
      if (saved.saved == snapshot::Saved::Refused) {
        const std::string complaint = FirstComplaint();
        throw Failure(Failure::Kind::Database,
                      "run " + std::to_string(run) + " of " + detector + " is not saved: " + saved.reason +
                          (complaint.empty() ? "" : " (" + complaint + ")"),
                      "BrioDatabase");
      }
      missing.push_back(saved.saved == snapshot::Saved::Missing);
      GiveWay();
    }
    saver.Commit();
  });
  return missing;
}

py::list Statuses() {
  py::list list;
  for (int i = 0; i < arrays::kStatuses; ++i) {
    const auto status = static_cast<arrays::Status>(i);
    list.append(py::make_tuple(i, arrays::NameOf(status), arrays::ReasonOf(status)));
  }
  return list;
}

arrays::RunSelection Selection(std::optional<int> first, std::optional<int> last,
                               std::optional<std::string> since, std::optional<std::string> until,
                               std::optional<std::string> at, std::optional<std::string> type,
                               std::optional<int> partition, std::optional<long long> configuration,
                               const std::vector<std::string>& where, std::size_t newest,
                               const std::vector<std::string>& with) {
  arrays::RunSelection selection;
  selection.first = first;
  selection.last = last;
  selection.since = std::move(since);
  selection.until = std::move(until);
  selection.at = std::move(at);
  selection.type = std::move(type);
  selection.partition = partition;
  selection.configuration = configuration;
  for (const auto& text : where) {
    selection.where.push_back(arrays::ConditionIn(text));
  }
  selection.newest = newest;
  for (const auto& part : with) {
    selection.withResources = selection.withResources || part == "resources";
    selection.withPOT = selection.withPOT || part == "pot";
    selection.withMasks = selection.withMasks || part == "masks";
  }
  return selection;
}

}  // namespace

PYBIND11_MODULE(_brio, module) {
  module.doc() = "Loads runs as arrays. Private: use brio.";
  RegisterFailures();
  BeginTurns();
  using Source = std::optional<std::string>;
  module.def("detectors", &Detectors, "The detectors' names.");
  module.def("statuses", &Statuses, "Number, words and reason of every status.");
  module.def("planes", &ChannelsByPlane, py::arg("detector"),
             "By plane and cell, the index of the channel; -1 where there is none.");
  module.def(
      "channel_at",
      [](const std::string& detector, std::uint32_t channel) {
        return IndexOrNone(LayoutOf(detector).ChannelAt(channel));
      },
      py::arg("detector"), py::arg("channel"), "The index of a DAQ channel.");
  module.def(
      "board_at",
      [](const std::string& detector, unsigned int diblock, unsigned int dcm, unsigned int port) {
        return IndexOrNone(LayoutOf(detector).BoardAt(diblock, dcm, port));
      },
      py::arg("detector"), py::arg("diblock"), py::arg("dcm"), py::arg("port"), "The index of a board.");
  module.def(
      "load",
      [](const std::string& detector, int number, Source source, const std::string& level, bool useMask,
         bool analysisMask, std::optional<int> customMask, int retries, bool isIncompleteFailure) {
        return LoadRun({std::move(source), level}, detector, number,
                       {useMask, analysisMask, customMask, retries, isIncompleteFailure});
      },
      py::arg("detector"), py::arg("number"), py::arg("source"), py::arg("level"), py::arg("use_mask"),
      py::arg("analysis_mask"), py::arg("custom_mask"), py::arg("retries"), py::arg("incomplete_fails"),
      "Loads a run whole.");
  module.def(
      "list_runs",
      [](const std::string& detector, Source source, const std::string& level, std::optional<int> first,
         std::optional<int> last, std::optional<std::string> since, std::optional<std::string> until,
         std::optional<std::string> at, std::optional<std::string> type, std::optional<int> partition,
         std::optional<long long> configuration, const std::vector<std::string>& where, std::size_t newest,
         const std::vector<std::string>& with) {
        return ListRuns({std::move(source), level}, detector,
                        Selection(first, last, std::move(since), std::move(until), std::move(at),
                                  std::move(type), partition, configuration, where, newest, with));
      },
      py::arg("detector"), py::arg("source"), py::arg("level"), py::arg("first"), py::arg("last"),
      py::arg("since"), py::arg("until"), py::arg("at"), py::arg("run_type"), py::arg("partition"),
      py::arg("configuration"), py::arg("where"), py::arg("newest"), py::arg("parts"),
      "The runs of a detector, in one query.");
  module.def(
      "quality",
      [](const std::string& detector, int number, Source source, const std::string& level) {
        return Quality({std::move(source), level}, detector, number);
      },
      py::arg("detector"), py::arg("number"), py::arg("source"), py::arg("level"),
      "The data-quality records of a run's subruns.");
  module.def(
      "save",
      [](const std::string& path, const std::vector<std::pair<std::string, int>>& runs, Source source,
         const std::string& level, bool append) {
        return Save({std::move(source), level}, path, runs, append);
      },
      py::arg("path"), py::arg("runs"), py::arg("source"), py::arg("level"), py::arg("append"),
      "Saves runs into a snapshot; of each, whether it is missing.");
  module.def(
      "statements_sent", [] { return dbi::ConnectionStatistics::Now().statementsSent; },
      "How many statements this process sent to servers.");
  module.def("end", &EndTurns, "Before the interpreter ends.");
  module.def("forget", &ForgetTurns, "In a process that was forked off.");
}

}  // namespace brio::python
