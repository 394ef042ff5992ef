#include <algorithm>
#include <iostream>

#include "RunHistory/ApplicationName.h"
#include "RunHistory/FreshTry.h"
#include "RunHistory/OutsideRows.h"
#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "database/LoadScope.h"
#include "database/PlainText.h"
#include "database/Timing.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

constexpr unsigned int kDCMsPerDiBlock = 12;
constexpr unsigned int kNearDCMsPerDiBlock = 4;
constexpr std::size_t kPortsPerDCM = 64;
// The time records of more subruns than any run has would only fill memory with zeros.
constexpr int kMostSubruns = 1 << 20;

template <class T>
void Read(const Row& row, const Table& table, const char* column, T& out) {
  row.Col(table.GetColIndex(column)).Get(out);
}

bool ComesBefore(const RunHistory::DiBlock& a, const RunHistory::DiBlock& b) {
  return static_cast<std::int16_t>(a.number) < static_cast<std::int16_t>(b.number);
}

RunHistory::DCM ActiveDCM(const std::string& appName, int diblock, int number) {
  RunHistory::DCM dcm;
  dcm.appName = appName;
  dcm.number = static_cast<std::uint16_t>(number);
  dcm.diBlock = static_cast<std::uint16_t>(diblock);
  dcm.isActive = true;
  dcm.febs.resize(kPortsPerDCM);
  return dcm;
}

/// \return false, with nothing changed, when the diblock has no DCM of that number.
bool AddDCM(std::vector<RunHistory::DiBlock>& diblocks, const std::string& appName, int diblock, int number,
            unsigned int nPerDiBlock) {
  if (number < 1 || static_cast<unsigned int>(number) > nPerDiBlock) { return false; }
  auto found = std::find_if(diblocks.begin(), diblocks.end(),
                            [&](const auto& candidate) { return candidate.number == diblock; });
  if (found == diblocks.end()) {
    RunHistory::DiBlock added(nPerDiBlock);
    added.isActive = true;
    added.number = static_cast<std::uint16_t>(diblock);
    diblocks.push_back(std::move(added));
    found = diblocks.end() - 1;
  }
  found->dcms[static_cast<std::size_t>(number) - 1] = ActiveDCM(appName, diblock, number);
  return true;
}

}  // namespace

bool SortDiBlocks(RunHistory::DiBlock a,
                  RunHistory::DiBlock b) {  // NOLINT(performance-unnecessary-value-param)
  return ComesBefore(a, b);
}

bool RunHistory::LoadDAQRunHistory() {
  if (daqRunHistoryLoaded) { return true; }
  if (runNotFound) {
    if (abortIfRunMissing) {
      throw cet::exception("RunHistory::")
          << "LoadDAQRunHistory: failed to find the run in the runs table." << std::endl;
    }
    WriteLine(std::cerr, "RunHistory::LoadDAQRunHistory: failed to find the run in the runs table.");
    return false;
  }
  if (IsSimulated()) {
    ProgressLine("Looks like a MC run number - assume perfect + any mask");
    isMC = true;
    BuildMC();
    return true;
  }

  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return LoadDAQRunHistory(); });
  }
  nDCMs = 0;
  const auto runs = OpenTable("RunHistory/tables/Runs.xml", timeQueries, timeParsing);
  const auto subrunsTable = OpenTable("RunHistory/tables/Subruns.xml", timeQueries, timeParsing);
  const auto resources = OpenTable("RunHistory/tables/DAQResourcesByRun.xml", timeQueries, timeParsing);
  if (!DetInfo::DetNameOk(detectorName)) {
    throw cet::exception("RunHistory::InvalidDetName")
        << "RunHistory::LoadDAQRun: invalid detector name!" << std::endl;
  }
  runs->SetDetector(detectorName);
  subrunsTable->SetDetector(detectorName);
  resources->SetDetector(detectorName);

  runs->SetSubSchema("daq");
  runs->SetValidityRange<int>("run", runNumber);
  for (const char* column : {"nevents", "begin_comment", "end_comment", "shifter"}) {
    runs->AddExcludeCol(column);
  }
  if (!runs->Load()) {
    throw cet::exception("RunHistory::FailedLoadRuns")
        << "LoadDAQRunHistory: failed to load the runs table." << std::endl;
  }
  if (runs->NRow() == 0) {
    WriteLine(std::cerr, "RunHistory::LoadDAQRunHistory: no entry found the runs table!");
    runNotFound = true;
    return false;
  }
  ReadRunRow(*runs);

  resources->SetSubSchema("daq");
  resources->SetValidityRange<int>("run", runNumber);
  resources->AddOrderColumn("appname");
  if (!resources->Load()) {
    throw cet::exception("RunHistory::FailedLoadRsrcs")
        << "LoadDAQRunHistory: failed to load the resources table." << std::endl;
  }
  if (resources->NRow() == 0) {
    throw cet::exception("RunHistory::NoRsrcs")
        << "LoadDAQRunHistory: no resources found for run " << runNumber << std::endl;
  }
  ReadResources(*resources);
  std::sort(diBlocks.begin(), diBlocks.end(), ComesBefore);
  daqRunHistoryLoaded = true;
  return true;
}

/// The first row of the runs table; a value that is absent leaves its member as it was.
void RunHistory::ReadRunRow(Table& runs) {
  const ConversionTimer timer("daq.runs", runs.NRow());
  if (const Row* row = runs.GetRow(0)) {
    Read(*row, runs, "tstart", tStartText);
    Read(*row, runs, "tstop", tStopText);
    long long id = configId;
    Read(*row, runs, "configid", id);
    configId = id;
    Read(*row, runs, "nsubruns", nSubruns);
    Read(*row, runs, "nactivechan", nActiveChannels);
    Read(*row, runs, "partition", partition);
    Read(*row, runs, "runtype", runType);
  }
  if (nSubruns > kMostSubruns) {
    LogError("RunHistory") << "run " << runNumber << " says that it has " << nSubruns
                           << " subruns; times are kept for the first " << kMostSubruns;
  }
  subruns.assign(static_cast<std::size_t>(std::clamp(nSubruns, 0, kMostSubruns)), Subrun{});
}

void RunHistory::ReadResources(Table& resources) {
  const ConversionTimer timer("daq.daqresourcesbyrun", resources.NRow());
  const int typeColumn = resources.GetColIndex("resource_type");
  const int nameColumn = resources.GetColIndex("appname");
  const int detectorColumn = resources.GetColIndex("detector");
  const int detector = DetInfo::GetId(detectorName);
  const unsigned int nPerDiBlock = detector == briodaq::cnv::Alder ? kNearDCMsPerDiBlock : kDCMsPerDiBlock;
  const bool ownRowsOnly = detector == briodaq::cnv::Birch || detector == briodaq::cnv::Alder;
  OutsideRows outside("LoadDAQRunHistory");

  for (int i = 0; i < resources.NRow(); ++i) {
    const Row& row = *resources.GetRow(i);
    std::string type;
    if (!row.Col(typeColumn).Get(type)) { continue; }
    std::string rowDetector;
    row.Col(detectorColumn).Get(rowDetector);
    if (ownRowsOnly && rowDetector != detectorName) { continue; }
    std::string appName;
    if (type == "bnevb") {
      row.Col(nameColumn).Get(appName);
      bnevbs.push_back({"", appName});
    } else if (type == "dcm") {
      row.Col(nameColumn).Get(appName);
      const DCMPlace place = PlaceOfDCM(appName);
      const auto diblock = static_cast<std::uint16_t>(place.diblock);
      const auto number = static_cast<std::uint16_t>(place.dcm);
      ++nDCMs;
      if (useGoodDiBlockMask && !IsGoodDiBlock(diblock)) { continue; }
      if (!AddDCM(diBlocks, appName, diblock, number, nPerDiBlock)) { outside.Add("\"" + appName + "\""); }
    }
  }
  outside.Report();
}

}  // namespace brio::dbi
