#include "python/module/LoadedRun.h"

#include <stdexcept>
#include <utility>

#include "RunHistory/DetInfo.h"
#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "arrays/Loading.h"
#include "database/KeptConnections.h"
#include "framework/exception.h"
#include "python/module/BoardTable.h"
#include "python/module/ChannelTable.h"
#include "python/module/Failure.h"
#include "python/module/Text.h"

namespace brio::python {
namespace {

namespace py = pybind11;
using arrays::Outcome;

/// What is needed of a run once it is loaded.
struct Loaded {
  arrays::Boards boards;
  std::optional<ChannelTable> channels;
  bool isSimulated = false;
  std::size_t diblocks = 0;
  unsigned int dcms = 0;
  std::vector<std::string> eventBuilders;
  std::vector<std::string> incomplete;
};

std::string Named(const std::string& detector, int number) {
  return "run " + std::to_string(number) + " of " + detector;
}

std::string Trimmed(std::string text) {
  text.erase(text.find_last_not_of(" \n") + 1);
  return text;
}

/// For a part without which there is nothing to show.
void Require(const Outcome& part, const std::string& run) {
  if (part.ok) { return; }
  const std::string complaint = FirstComplaint();
  const auto kind = complaint.empty() ? Failure::Kind::Error : Failure::Kind::Database;
  throw Failure(kind, run + ": " + (complaint.empty() ? Trimmed(part.reason) : complaint),
                complaint.empty() ? "RunHistory" : "BrioDatabase");
}

/// For one that may be missing. \return why it is, if so
std::optional<std::string> WhyMissing(const Outcome& part, const char* what) {
  if (part.IsClean()) { return std::nullopt; }
  return std::string(what) + ": " + Trimmed(part.reason);
}

Loaded Load(const std::string& detector, int number, const RunSettings& settings) {
  dbi::RunHistory run = MakeRun(detector, number, settings);
  // All in one, so that the parts are of one state; what became of each is seen afterwards. Then no
  // connection is tried again that could not be made.
  const dbi::KeptConnections kept(settings.retries);
  const auto whole = arrays::TryTo([&run] { return run.LoadAllDetInfo(); });
  const std::string name = Named(detector, number);
  if (run.GetDiBlocks().empty() && !FirstComplaint().empty()) { Require(whole, name); }
  const auto parts = arrays::LoadRun(run, arrays::Depth::Settings);
  if (parts.isMissing) { throw Failure(Failure::Kind::RunNotFound, "there is no " + name, "RunHistory"); }
  Require(parts.run, name);
  Require(parts.hardware, name);
  Loaded loaded;
  for (const auto& why : {WhyMissing(parts.configuration, "DAQ configuration"),
                          WhyMissing(parts.settings, "gains and slow control")}) {
    if (why) { loaded.incomplete.push_back(name + ": " + *why); }
  }
  if (settings.isIncompleteFailure && !loaded.incomplete.empty() && !run.IsMC()) {
    const std::string complaint = FirstComplaint();
    throw Failure(Failure::Kind::Incomplete,
                  loaded.incomplete.front() + (complaint.empty() ? "" : " (" + complaint + ")"),
                  "RunHistory::Incomplete");
  }
  loaded.boards = arrays::MakeBoards(run, parts);
  loaded.channels.emplace(arrays::MakeChannels(run, parts));
  loaded.isSimulated = run.IsMC();
  loaded.diblocks = run.GetDiBlocks().size();
  loaded.dcms = run.NLiveDCMs();
  for (const auto& builder : run.GetBNEVBs()) {
    loaded.eventBuilders.push_back(builder.appName);
  }
  return loaded;
}

py::list TextsOf(const std::vector<std::string>& texts) {
  py::list list;
  for (const auto& text : texts) {
    list.append(Text(text));
  }
  return list;
}

}  // namespace

dbi::RunHistory MakeRun(const std::string& detector, int number, const RunSettings& settings) {
  if (!briodaq::cnv::DetInfo::DetNameOk(detector)) {
    throw std::invalid_argument("there is no detector \"" + detector + "\"");
  }
  dbi::RunHistory run(number, detector);
  run.SetUseGoodDiBlockMask(settings.useMask || settings.analysisMask || settings.customMask);
  run.SetApplyAnalysisMask(settings.analysisMask);
  if (settings.customMask) {
    run.SetUseCustomMask(true);
    run.SetCustomDiBlockMask(*settings.customMask);
  }
  run.SetMaxLoadRetries(settings.retries);
  return run;
}

py::dict LoadRun(const Circumstances& circumstances, const std::string& detector, int number,
                 const RunSettings& settings) {
  Loaded loaded;
  InTurn(circumstances, [&] { loaded = Load(detector, number, settings); });
  py::dict parts;
  const Table boards = TableOf(loaded.boards);
  parts["boards"] = py::make_tuple(boards.data, boards.missing);
  parts["measured_gain"] = loaded.channels->MakeMeasuredGains();
  const Table channels = loaded.channels->MakeTable();
  parts["channels"] = py::make_tuple(channels.data, channels.missing);
  parts["simulated"] = loaded.isSimulated;
  parts["diblocks"] = loaded.diblocks;
  parts["dcms"] = loaded.dcms;
  parts["event_builders"] = TextsOf(loaded.eventBuilders);
  parts["incomplete"] = TextsOf(loaded.incomplete);
  return parts;
}

}  // namespace brio::python
