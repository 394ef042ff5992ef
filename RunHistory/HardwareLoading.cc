#include <algorithm>
#include <array>
#include <iostream>
#include <optional>
#include <vector>

#include "RunHistory/ApplicationName.h"
#include "RunHistory/ChannelLookup.h"
#include "RunHistory/FreshTry.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/OutsideRows.h"
#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "RunHistory/StatementTime.h"
#include "database/LoadScope.h"
#include "database/PlainText.h"
#include "database/Result.h"
#include "database/Timing.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

/// A module that a hardware row puts on a DCM port.
struct InstalledModule {
  int diblock;
  int dcm;
  int port;
  int block;
  int plane;
  int position;
};

/// Far-detector ports that are cabled but never read out.
constexpr std::array<std::array<int, 3>, 3> kNeverMarked{{{4, 7, 15}, {5, 7, 59}, {14, 6, 42}}};

bool IsNeverMarked(const InstalledModule& module) {
  const std::array place{module.diblock, module.dcm, module.port};
  return std::find(kNeverMarked.begin(), kNeverMarked.end(), place) != kNeverMarked.end();
}

std::string Described(const InstalledModule& module) {
  return PlainText("diblock ", module.diblock, ", DCM ", module.dcm, ", port ", module.port);
}

constexpr int kNearColumns = 5;
constexpr int kFarColumns = 6;

std::string NearStatement(const std::string& time) {
  return "SELECT dcm_name,dcm_port,block,plane,module_position from hardware_position where detector='Alder' "
         "and install_date at time zone 'UTC' < '" +
         time + "' and (remove_date is NULL or remove_date at time zone 'UTC' > '" + time +
         "') and hw_type='APD' order by dcm_name,dcm_port";
}

std::string FarStatement(const std::string& time) {
  return "SELECT btrim(fcom.location1,'DIBLK:') diblk, btrim(fcom.position1,'DCM:') pos, "
         "CAST(btrim(fcom.port1,'PRT:') AS INT) feb, mod.block AS block, mod.layer AS plane, "
         "mod.position_in_layer AS position "
         "FROM public.feb_comm_cables fcom, millpondprod_factory.module mod "
         "LEFT OUTER JOIN millpondprod_factory.barcoded_item bm ON (mod.barcoded_item_id = "
         "bm.barcoded_item_id) "
         "LEFT OUTER JOIN millpondprod_factory.module_apd_connection "
         "ON (mod.barcoded_item_id = module_apd_connection.module) "
         "LEFT OUTER JOIN millpondprod_factory.apd ON (module_apd_connection.apd = apd.barcoded_item_id) "
         "LEFT OUTER JOIN millpondprod_factory.barcoded_item ba ON (apd.barcoded_item_id = "
         "ba.barcoded_item_id) "
         "LEFT OUTER JOIN millpondprod_factory.brio_connection mac "
         "ON (mac.connection_id = module_apd_connection.connection_id) "
         "WHERE mac.date_created AT TIME ZONE 'CDT' < '" +
         time + "' and (mac.date_removed is NULL or mac.date_removed AT TIME ZONE 'CDT' > '" + time +
         "') and (mod.block=CAST(btrim(fcom.location2,'BLK:') AS INT) "
         "and mod.layer=CAST(btrim(fcom.position2,'PLN:') AS INT) "
         "and mod.position_in_layer=CAST(btrim(fcom.port2,'POS:') AS INT)) ORDER BY diblk,pos,feb";
}

/// Puts a row's module on its port, once. A row of an active DCM clears its diblock's isActive, whatever
/// becomes of its port.
/// \return true when the port was marked now
bool Mark(std::vector<RunHistory::DiBlock>& diblocks, const InstalledModule& module, bool mayMark,
          OutsideRows& outside) {
  for (auto& diblock : diblocks) {
    if (diblock.number != module.diblock) { continue; }
    RunHistory::DCM* dcm = module.dcm < 1 ? nullptr : FindDCM(diblock, static_cast<unsigned int>(module.dcm));
    if (dcm == nullptr) {
      outside.Add(Described(module));
      return false;
    }
    if (!dcm->isActive) { return false; }
    diblock.isActive = false;
    RunHistory::FEB* feb = module.port < 0 ? nullptr : FindFEB(*dcm, static_cast<unsigned int>(module.port));
    if (feb == nullptr) {
      outside.Add(Described(module));
      return false;
    }
    if (feb->isInstalled || !mayMark) { continue; }
    feb->isInstalled = true;
    feb->block = static_cast<std::uint16_t>(module.block);
    feb->plane = static_cast<std::uint16_t>(module.plane);
    feb->modulePosition = static_cast<std::uint16_t>(module.position);
    ++dcm->nInstrumentedFEBs;
    ++diblock.nInstrumentedFEBs;
    return true;
  }
  return false;
}

/// What became of the statement that asks for the hardware.
enum class Asked { NotSent, Failed, Answered };

/// A failure is reported and closes the connection; of a statement that could not be sent nothing is said.
/// \param execute  sends the statement: whether it was sent, and in its argument whether it was answered
template <class Execute>
Asked AskForHardware(const std::string& statement, const std::string& time, Table& table, Execute execute) {
  bool isAnswered = false;
  if (MayStandInStatement(time) && !execute(isAnswered)) { return Asked::NotSent; }
  if (isAnswered) { return Asked::Answered; }
  WriteLine(std::cerr, "Query failed: ", statement);
  table.CloseConnection();
  return Asked::Failed;
}

}  // namespace

bool RunHistory::LoadHardwareInfo() {
  if (hardwareLoaded) { return true; }
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return LoadHardwareInfo(); });
  }
  if (!LoadDAQRunHistory()) { return false; }
  if (hardwareLoaded) { return true; }  // a simulated run was built with its hardware
  ProgressLine("RunHistory: Loading FEB and APD installation information");
  const int detector = DetInfo::GetId(detectorName);
  if (!DetInfo::DetNameOk(detectorName)) { return false; }
  const auto table = OpenHardwareDatabase(detectorName, timeQueries);
  if (!table->GetConnection(maxLoadRetries)) {
    WriteLine(std::cerr,
              "RunHistory::LoadHardwareInfo(): Failed to connect to hardware database!  Failed to load "
              "hardware info.");
    return false;
  }
  if (detector == briodaq::cnv::Alder && !LoadNearHardware(*table)) { return false; }
  if (detector == briodaq::cnv::Birch && !LoadFarHardware(*table)) { return false; }
  table->CloseConnection();
  hardwareLoaded = true;
  return true;
}

bool RunHistory::LoadNearHardware(Table& table) {
  const std::string statement = NearStatement(tStartText);
  std::optional<Rows> rows;
  const Asked asked = AskForHardware(statement, tStartText, table, [&](bool& isAnswered) {
    const bool wasSent = table.ExecuteSQL(statement, rows, kNearColumns);
    isAnswered = rows.has_value();
    return wasSent;
  });
  if (asked == Asked::NotSent) { return true; }
  if (asked == Asked::Failed) { return false; }
  const ConversionTimer timer("installed hardware", rows->Count());
  OutsideRows outside("LoadHardwareInfo");
  for (const RowView row : *rows) {
    const auto number = [&](int column) { return IntegerIn(row.Text(column)); };
    const DCMPlace place = PlaceOfDCM(row.Text(0));
    const InstalledModule module{place.diblock, place.dcm, number(1), number(2), number(3), number(4)};
    if (Mark(diBlocks, module, true, outside)) { ++nInstrumentedFEBs; }
  }
  outside.Report();
  return true;
}

/// Reads the rows while the server still makes them, and uses them when all are there.
bool RunHistory::LoadFarHardware(Table& table) {
  const std::string statement = FarStatement(tStartText);
  std::vector<InstalledModule> modules;
  const auto take = [&modules](const RowView& row) {
    const auto number = [&row](int column) { return IntegerIn(row.Text(column)); };
    modules.push_back({number(0), number(1), number(2), number(3), number(4), number(5)});
  };
  const Asked asked = AskForHardware(statement, tStartText, table, [&](bool& isAnswered) {
    PGresult* result = nullptr;
    const bool wasSent = table.ExecuteSQL(statement, take, result, kFarColumns);
    const ResultHandle end(result);
    isAnswered = PQresultStatus(end.get()) == PGRES_TUPLES_OK;
    return wasSent;
  });
  if (asked == Asked::NotSent) {
    WriteLine(std::cerr, "SQL error, failed query: ", statement);
    table.CloseConnection();
    return false;
  }
  if (asked == Asked::Failed) { return false; }
  const ConversionTimer timer("installed hardware", static_cast<long>(modules.size()));
  OutsideRows outside("LoadHardwareInfo");
  for (const InstalledModule& module : modules) {
    if (useGoodDiBlockMask && !IsGoodDiBlock(module.diblock)) { continue; }
    if (Mark(diBlocks, module, !IsNeverMarked(module), outside)) { ++nInstrumentedFEBs; }
  }
  outside.Report();
  return true;
}

}  // namespace brio::dbi
