#include <iostream>
#include <iterator>
#include <utility>
#include <vector>

#include "RunHistory/FreshTry.h"
#include "RunHistory/HardwareDate.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "RunHistory/StatementTime.h"
#include "database/PerformPGQuery.h"
#include "database/Timing.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

struct InstalledFEB {
  FEBInfo record;
  int nCables = 0;  ///< that are still to be looked at
};
using FEBsByModule = std::map<std::uint32_t, InstalledFEB>;

constexpr float kDefaultSlope = 0.02586F;

enum FEBColumn { kBarcode, kIntercept, kSlope, kItemId, kDateAdded, kModule, kConnectionId };
constexpr int kFEBColumns = 8;
enum CableColumn { kDiBlock, kDCM, kPort, kBlock, kLayer, kPosition, kCableModule };
constexpr int kCableColumns = 7;

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

/// Takes the rows of that statement in their order: of each module the first, the newest.
class FEBReader {
public:
  void Take(const RowView& row);
  FEBsByModule TakeFEBs() { return std::move(febs_); }

private:
  FEBsByModule febs_;
  double dateAdded_ = 0.0;  ///< all boards carry the date of the first row, the newest
};

void FEBReader::Take(const RowView& row) {
  const auto number = [&](FEBColumn column) {
    return static_cast<std::uint32_t>(IntegerIn(row.Text(column)));
  };
  if (febs_.empty()) { dateAdded_ = HardwareDate(row.Text(kDateAdded)); }
  // With equal dates the first row of a module stays.
  const auto module = number(kModule);
  const auto [entry, isNew] = febs_.try_emplace(module);
  if (!isNew) { return; }
  FEBInfo& feb = entry->second.record;
  feb.serial = row.Text(kBarcode);
  feb.hvFitIntercept = FloatIn(row.Text(kIntercept));
  feb.hvFitSlope = FloatIn(row.Text(kSlope));
  if (feb.hvFitSlope == 0.0F) { feb.hvFitSlope = kDefaultSlope; }
  feb.barcodedItemId = number(kItemId);
  feb.module = module;
  feb.connectionId = number(kConnectionId);
  feb.dateAdded = dateAdded_;
}

/// A row that puts a module at a place.
struct Cable {
  std::uint32_t diblock;
  std::uint32_t dcm;
  std::uint32_t port;
  std::uint32_t module;
};

Cable CableOf(const RowView& row) {
  const auto number = [&](CableColumn column) {
    return static_cast<std::uint32_t>(IntegerIn(row.Text(column)));
  };
  return {number(kDiBlock), number(kDCM), number(kPort), number(kCableModule)};
}

/// A board that a cable row puts at a location.
struct CabledBoard {
  HardwareLocation location;
  InstalledFEB* feb;
  APDInfo* apd;  ///< null when the module has none
};

/// The cables of installed boards, in their order.
std::vector<CabledBoard> FindBoards(const std::vector<Cable>& cables, int detector, FEBsByModule& febs,
                                    APDsByModule& apds) {
  const ConversionTimer timer("cables", static_cast<long>(cables.size()));
  std::vector<CabledBoard> cabled;
  cabled.reserve(febs.size());
  int withoutAPD = 0;
  for (const Cable& cable : cables) {
    const auto feb = febs.find(cable.module);
    if (feb == febs.end()) { continue; }
    const HardwareLocation location{detector, cable.diblock, cable.dcm, cable.port};
    const auto apd = apds.find(feb->first);
    if (apd == apds.end()) {
      LogDebug("RunHistory") << withoutAPD << " no APD found for " << feb->second.record << " installed at "
                             << location;
      ++withoutAPD;
    }
    ++feb->second.nCables;
    cabled.push_back({location, &feb->second, apd == apds.end() ? nullptr : &apd->second});
  }
  return cabled;
}

template <class Record>
Record Take(Record& record, bool isLast) {
  if (isLast) { return std::move(record); }
  return record;
}

/// Each board with the APD of its module, at its location; of several rows for one location the last counts.
/// What a module has is moved to the last of its places, and copied to those before.
LocationMap JoinAtLocations(const std::vector<CabledBoard>& cabled) {
  LocationMap joined;
  auto next = joined.end();
  for (const auto& [location, feb, apd] : cabled) {
    const bool isLast = --feb->nCables == 0;
    auto hardware = std::pair(Take(feb->record, isLast), apd == nullptr ? APDInfo() : Take(*apd, isLast));
    next = std::next(joined.insert_or_assign(next, location, std::move(hardware)));  // they come in order
  }
  return joined;
}

}  // namespace

/// FEBs installed in the far detector at the run's start, each with the APD of its module, by location; none
/// for other detectors.
LocationMap RunHistory::PullFEBInfoFromDB(APDsByModule apds) {
  if (!DetInfo::DetNameOk(detectorName)) {
    throw cet::exception("RunHistory") << "could not extablish table connection for detector";
  }
  const auto table = OpenHardwareDatabase(detectorName, timeQueries);
  const int detector = DetInfo::GetId(detectorName);
  if (detector != briodaq::cnv::Birch) {
    table->CloseConnection();
    return {};
  }
  // Both are read while the server still sends them.
  FEBReader reader;
  FEBsByModule febs;
  if (PerformPGQueryAt(
          tStartText, InstalledFEBsStatement(tStartText), *table,
          [&reader](const RowView& row) { reader.Take(row); }, kFEBColumns)) {
    febs = reader.TakeFEBs();
  } else {
    incompleteParts.emplace_back("installed FEBs");
  }
  LogDebug("RunHistory") << "there are " << febs.size() << " febs installed and put in the map and "
                         << apds.size() << " apds";
  std::vector<Cable> cables;
  const auto take = [&cables](const RowView& row) { cables.push_back(CableOf(row)); };
  if (!PerformPGQuery(kCablesStatement, *table, take, kCableColumns)) {
    incompleteParts.emplace_back("cabling");
    cables.clear();
  }
  const std::vector<CabledBoard> cabled = FindBoards(cables, detector, febs, apds);
  LocationMap joined = JoinAtLocations(cabled);
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
  auto next = gLocToFA.cbegin();  // the places come in the order of the map
  for (std::uint32_t diblock = 1; diblock <= 14; ++diblock) {
    for (std::uint32_t dcm = 1; dcm <= 12; ++dcm) {
      for (std::uint32_t port = 0; port < 64; ++port) {
        const HardwareLocation location{briodaq::cnv::Birch, diblock, dcm, port};
        while (next != gLocToFA.cend() && next->first < location) {
          ++next;
        }
        if (next != gLocToFA.cend() && !(location < next->first)) { continue; }
        LogDebug("RunHistory") << location << " is not in the location map";
        ++nWithout;
      }
    }
  }
  LogDebug("RunHistory") << "there are " << nWithout << " locations without hardware";
}

}  // namespace brio::dbi
