// Loads a run with the library. With --statements it writes the statements that the load sent to that file,
// for the programs that this one is compared with.
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "RunHistory/RunHistory.h"
#include "benchmarks/loads/Program.h"
#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "database/StepObserver.h"
#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/Peer.h"

namespace {

using namespace brio::benchmarks;
using brio::dbi::ConnectionStatistics;
using brio::dbi::RunHistory;

void RecordStatements(std::ofstream& file) {
  brio::dbi::SetStepObserver([&file](brio::dbi::DatabaseStep step, const std::string& text) {
    if (step == brio::dbi::DatabaseStep::Begin || step == brio::dbi::DatabaseStep::Statement) {
      file << text << std::endl;
    }
  });
}

/// The first question for a threshold, of a channel that has one.
void AskForAThreshold(RunHistory& run) {
  const auto channel =
      daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch)->encodeDChan(2, 1, 1, 0, 5);
  bool ok = false;
  run.GetThreshold(channel, ok);
  if (!ok) { throw std::runtime_error("the first question for a threshold got no answer"); }
}

Answers AnswersOf(const RunHistory& run) {
  Answers answers;
  for (const auto& diblock : run.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      for (std::size_t port = 0; port < dcm.febs.size(); ++port) {
        const auto& feb = dcm.febs[port];
        answers.AddBoard(
            PlaceOf(diblock.number, dcm.number, port),
            {feb.isInstalled, feb.isEnabled, feb.block, feb.plane, feb.modulePosition, feb.pixelEnableMask,
             feb.thresholds.empty() ? nullptr : feb.thresholds.data(), feb.temperatureEnabled,
             feb.temperature, feb.voltage, feb.pixelGains.data(), feb.avgGain});
      }
    }
  }
  for (const auto& [location, hardware] : brio::dbi::gLocToFA) {
    const auto& [feb, apd] = hardware;
    answers.AddHardware(
        PlaceOf(location.diblock, location.dcm, location.port),
        {feb.barcodedItemId, feb.connectionId, feb.hvFitIntercept, feb.hvFitSlope, apd.barcodedItemId,
         apd.connectionId, apd.batchNo, apd.targetDegC, apd.vr, apd.dateAdded});
  }
  return answers;
}

void Load(RunHistory& run, Stage stage) {
  switch (stage) {
    case Stage::All:
      if (!run.LoadAllDetInfo()) { throw std::runtime_error("the run could not be loaded"); }
      break;
    case Stage::Thresholds: AskForAThreshold(run); break;
    case Stage::Pull: {
      const brio::dbi::LoadScope scope;
      brio::dbi::RunHistoryTestPeer::MapHardwareToLocation(run);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = ReadOptions(argc, argv);
  std::ofstream recorded;
  if (!options.statements.empty()) {
    recorded.open(options.statements);
    RecordStatements(recorded);
  }
  std::string start;
  if (options.stage == Stage::Pull) {
    RunHistory earlier(options.run, briodaq::cnv::Birch);
    earlier.LoadDAQRunHistory();
    start = earlier.TStartAsString();
  }

  const auto before = ConnectionStatistics::Now();
  Stopwatch watch;
  RunHistory run(options.run, briodaq::cnv::Birch);
  if (!start.empty()) { brio::dbi::RunHistoryTestPeer::TStartText(run) = start; }
  if (options.diblocks < static_cast<int>(kDiBlocks)) {
    run.SetUseGoodDiBlockMask(true);
    run.SetUseCustomMask(true);
    run.SetCustomDiBlockMask((1 << options.diblocks) - 1);
  }
  Load(run, options.stage);
  watch.Stop();
  const long peak = PeakKilobytes();
  const auto after = ConnectionStatistics::Now();
  Report(
      watch, peak,
      {after.connectionsOpened - before.connectionsOpened, after.statementsSent - before.statementsSent, 0},
      AnswersOf(run));
}
