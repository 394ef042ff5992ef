// What a load leaves when some of its questions fail, worked out from a complete run.
#include "tests/RunHistory/Peer.h"
#include "tests/faults/FaultedLoads.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using dbi::RunHistoryTestPeer;

bool AnyOf(const std::set<Asked>& failing, std::initializer_list<Asked> questions) {
  for (const Asked question : questions) {
    if (failing.count(question) != 0) { return true; }
  }
  return false;
}

/// Applies a change to every board.
template <class Change>
void ForEachBoard(RunHistory& run, Change change) {
  for (auto& diblock : RunHistoryTestPeer::DiBlocks(run)) {
    for (auto& dcm : diblock.dcms) {
      for (auto& board : dcm.febs) {
        change(board);
      }
    }
  }
}

void ForgetSettings(RunHistory::FEB& board) {
  const RunHistory::FEB fresh;
  board.temperatureEnabled = fresh.temperatureEnabled;
  board.temperature = fresh.temperature;
  board.voltage = fresh.voltage;
}

/// Gains as if the APDs had none, or, without a map of the hardware, as if no APD had been asked for.
void ForgetGains(RunHistory::FEB& board, bool withoutMap) {
  const RunHistory::FEB fresh;
  const bool wasMapped = board.avgGain != 0.0F;
  board.pixelGains = fresh.pixelGains;
  board.avgGain = wasMapped && !withoutMap ? 100.0F : 0.0F;
}

void ForgetConfiguration(RunHistory& run) {
  for (auto& diblock : RunHistoryTestPeer::DiBlocks(run)) {
    for (auto& dcm : diblock.dcms) {
      dcm.febEnableMask = 0;
    }
  }
  ForEachBoard(run, [](RunHistory::FEB& board) {
    const RunHistory::FEB fresh;
    board.nEnabledPixels = fresh.nEnabledPixels;
    board.pixelEnableMask = fresh.pixelEnableMask;
    board.thresholds = fresh.thresholds;
    board.isEnabled = fresh.isEnabled;
    ForgetSettings(board);
    ForgetGains(board, true);
  });
  RunHistoryTestPeer::NTotalChannels(run) = 0;
  RunHistoryTestPeer::NEnabledFEBs(run) = 0;
  int installed = 0;
  for (const auto& diblock : run.GetDiBlocks()) {
    installed += diblock.nInstrumentedFEBs;
  }
  RunHistoryTestPeer::NInstrumentedFEBs(run) = installed;
}

void ForgetHardware(RunHistory& run) {
  ForgetConfiguration(run);
  for (auto& diblock : RunHistoryTestPeer::DiBlocks(run)) {
    diblock.isActive = true;
    diblock.nInstrumentedFEBs = 0;
    for (auto& dcm : diblock.dcms) {
      dcm.nInstrumentedFEBs = 0;
    }
  }
  ForEachBoard(run, [](RunHistory::FEB& board) { board = RunHistory::FEB(); });
  RunHistoryTestPeer::NInstrumentedFEBs(run) = 0;
}

void ForgetResources(RunHistory& run) {
  ForgetHardware(run);
  RunHistoryTestPeer::DiBlocks(run).clear();
  RunHistoryTestPeer::BNEVBs(run).clear();
  RunHistoryTestPeer::NDCMs(run) = 0;
}

}  // namespace

Asked EndsAt(const std::set<Asked>& failing) {
  for (const Asked question :
       {Asked::Runs, Asked::Resources, Asked::Hardware, Asked::EnableMasks, Asked::Thresholds}) {
    if (failing.count(question) != 0) { return question; }
  }
  return Asked::Nothing;
}

RunHistory WithoutAnswersTo(const RunHistory& complete, const std::set<Asked>& failing) {
  RunHistory run = complete;
  switch (EndsAt(failing)) {
    case Asked::Runs: return RunHistory(complete.GetRunNumber(), complete.GetDetectorId());
    case Asked::Resources: ForgetResources(run); return run;
    case Asked::Hardware: ForgetHardware(run); return run;
    case Asked::EnableMasks:
    case Asked::Thresholds: ForgetConfiguration(run); return run;
    default: break;
  }
  if (AnyOf(failing, {Asked::Settings})) { ForEachBoard(run, ForgetSettings); }
  const bool withoutMap = AnyOf(failing, {Asked::FEBs, Asked::Cables});
  if (withoutMap || AnyOf(failing, {Asked::Gains, Asked::APDs})) {
    ForEachBoard(run, [&](RunHistory::FEB& board) { ForgetGains(board, withoutMap); });
  }
  if (withoutMap) { RunHistoryTestPeer::NInstrumentedFEBs(run) = 0; }
  return run;
}

dbi::LocationMap WithoutAnswersTo(const dbi::LocationMap& complete, const std::set<Asked>& failing) {
  if (EndsAt(failing) != Asked::Nothing) { return complete; }
  if (AnyOf(failing, {Asked::FEBs, Asked::Cables})) { return {}; }
  dbi::LocationMap map = complete;
  for (auto& [location, hardware] : map) {
    if (AnyOf(failing, {Asked::APDs})) {
      hardware.second = dbi::APDInfo();
    } else if (AnyOf(failing, {Asked::Gains})) {
      hardware.second.pixelGains = dbi::APDInfo().pixelGains;
    }
  }
  return map;
}

}  // namespace brio::test
