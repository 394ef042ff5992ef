#include <iostream>

#include "RunHistory/FreshTry.h"
#include "RunHistory/HardwareDate.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "database/Result.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

using FEBsByModule = std::map<std::uint32_t, FEBInfo>;

constexpr float kDefaultSlope = 0.02586F;

enum FEBColumn { kBarcode, kIntercept, kSlope, kItemId, kDateAdded, kModule, kConnectionId };
enum CableColumn { kDiBlock, kDCM, kPort, kBlock, kLayer, kPosition, kCableModule };

/// FEBs that were installed at a time, newest first. The test summary's serial becomes a barcode when its 5th
/// and 7th characters are points.
std::string InstalledFEBsStatement(const std::string& time) {
  return "select bi.barcode, febtest.hvfitintercept, febtest.hvfitslope, bi.barcoded_item_id, bi.date_added, "
         "mfc.module, mfc.connection_id, nc.date_removed "
         "from millpondprod_factory.barcoded_item bi, millpondprod_factory.module_feb_connection mfc, "
         "millpondprod_factory.brio_connection nc, public.feb_test_summary febtest "
         "where bi.barcode=overlay(overlay(febtest.febsn placing '.' from 5 for 1) placing '.' from 7 for 1) "
         "and bi.glassfish_discriminator='feb' and mfc.feb=bi.barcoded_item_id "
         "and nc.connection_id=mfc.connection_id and bi.date_added < '" +
         time + "'  and (nc.date_removed is NULL or nc.date_removed > '" + time +
         "') and (bi.date_removed is NULL or bi.date_removed > '" + time + "') ORDER BY bi.date_added DESC";
}

/// Which module each DCM port is cabled to, at any time.
const char* const kCablesStatement =
    "select btrim(fcom.location1, 'DIBLK:') diblk, btrim(fcom.position1, 'DCM:') dcm, "
    "btrim(fcom.port1,'PRT:') feb, mod.block, mod.layer, mod.position_in_layer, mod.barcoded_item_id "
    "from public.feb_comm_cables fcom, millpondprod_factory.module mod "
    "where (mod.block=CAST(btrim(fcom.location2,'BLK:') AS INT) "
    "and mod.layer=CAST(btrim(fcom.position2,'PLN:') AS INT) "
    "and mod.position_in_layer=CAST(btrim(fcom.port2,'POS:') AS INT)) ORDER BY diblk ASC, dcm ASC, feb ASC";

FEBsByModule ReadFEBs(const PGresult* rows) {
  FEBsByModule febs;
  const int nRows = PQntuples(rows);
  // All boards carry the date of the first row, the newest.
  const double dateAdded = nRows > 0 ? HardwareDate(PQgetvalue(rows, 0, kDateAdded)) : 0.0;
  for (int row = 0; row < nRows; ++row) {
    const auto text = [&](FEBColumn column) { return PQgetvalue(rows, row, column); };
    FEBInfo feb;
    feb.serial = text(kBarcode);
    feb.hvFitIntercept = static_cast<float>(NumberIn(text(kIntercept)));
    feb.hvFitSlope = static_cast<float>(NumberIn(text(kSlope)));
    if (feb.hvFitSlope == 0.0F) { feb.hvFitSlope = kDefaultSlope; }
    feb.barcodedItemId = static_cast<std::uint32_t>(IntegerIn(text(kItemId)));
    feb.module = static_cast<std::uint32_t>(IntegerIn(text(kModule)));
    feb.connectionId = static_cast<std::uint32_t>(IntegerIn(text(kConnectionId)));
    feb.dateAdded = dateAdded;
    // With equal dates the first row of a module stays.
    febs.try_emplace(feb.module, std::move(feb));
  }
  return febs;
}

LocationMap JoinAtLocations(const PGresult* cables, int detector, const FEBsByModule& febs,
                            const APDsByModule& apds) {
  LocationMap joined;
  int withoutAPD = 0;
  for (int row = 0; row < PQntuples(cables); ++row) {
    const auto number = [&](CableColumn column) {
      return static_cast<std::uint32_t>(IntegerIn(PQgetvalue(cables, row, column)));
    };
    const auto feb = febs.find(number(kCableModule));
    if (feb == febs.end()) { continue; }
    const HardwareLocation location{detector, number(kDiBlock), number(kDCM), number(kPort)};
    const auto apd = apds.find(feb->first);
    if (apd == apds.end()) {
      LogDebug("RunHistory") << withoutAPD << " no APD found for " << feb->second << " installed at "
                             << location;
      ++withoutAPD;
    }
    // Rows come nearly in the order of locations.
    joined.insert_or_assign(joined.end(), location,
                            std::pair(feb->second, apd == apds.end() ? APDInfo() : apd->second));
  }
  return joined;
}

}  // namespace

/// FEBs installed in the far detector at the run's start, each with the APD of its module, by location; none
/// for other detectors.
LocationMap RunHistory::PullFEBInfoFromDB(const APDsByModule& apds) {
  if (!DetInfo::DetNameOk(detectorName)) {
    throw cet::exception("RunHistory") << "could not extablish table connection for detector";
  }
  const auto table = OpenHardwareDatabase(detectorName, timeQueries);
  const int detector = DetInfo::GetId(detectorName);
  if (detector != briodaq::cnv::Birch) {
    table->CloseConnection();
    return {};
  }
  FEBsByModule febs;
  {
    const ResultHandle rows(PerformPGQuery(InstalledFEBsStatement(tStartText), *table));
    if (!rows) { incompleteParts.emplace_back("installed FEBs"); }
    febs = ReadFEBs(rows.get());
  }
  LogDebug("RunHistory") << "there are " << febs.size() << " febs installed and put in the map and "
                         << apds.size() << " apds";
  ResultHandle cables(PerformPGQuery(kCablesStatement, *table));
  if (!cables) { incompleteParts.emplace_back("cabling"); }
  LocationMap joined = JoinAtLocations(cables.get(), detector, febs, apds);
  cables.reset();
  LogDebug("RunHistory") << "There are " << febs.size() << " febs in the db, and " << joined.size()
                         << " are connected to a harward location" << std::endl
                         << "There are " << apds.size() << " apds installed";
  table->CloseConnection();
  return joined;
}

void RunHistory::MapHardwareToLocation() {
  LocationMap mapped = PullFEBInfoFromDB(PullAPDInfoFromDB());
  if (WillBeginAfresh() || IsTooIncomplete()) { return; }
  gLocToFA.swap(mapped);
  if (DetInfo::GetId(detectorName) != briodaq::cnv::Birch) { return; }
  int nWithout = 0;
  for (std::uint32_t diblock = 1; diblock <= 14; ++diblock) {
    for (std::uint32_t dcm = 1; dcm <= 12; ++dcm) {
      for (std::uint32_t port = 0; port < 64; ++port) {
        const HardwareLocation location{briodaq::cnv::Birch, diblock, dcm, port};
        if (gLocToFA.count(location) != 0) { continue; }
        LogDebug("RunHistory") << location << " is not in the location map";
        ++nWithout;
      }
    }
  }
  LogDebug("RunHistory") << "there are " << nWithout << " locations without hardware";
}

}  // namespace brio::dbi
