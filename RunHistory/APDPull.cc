#include <cstring>
#include <utility>

#include "RunHistory/HardwareDate.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/PixelGains.h"
#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "database/PlainText.h"
#include "database/Result.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

enum APDColumn { kSerial, kBatch, kTemperature, kVr, kItemId, kDateAdded, kModule, kConnectionId };

/// APDs that were installed at a time, one row for each set of test statistics.
std::string InstalledAPDsStatement(const std::string& time) {
  return "select right(astat.apd_id, 7), astat.batch_no, astat.target_degc, astat.vr, bi.barcoded_item_id, "
         "bi.date_added, mac.module, mac.connection_id, nc.date_removed "
         "from public.apd_stats astat, millpondprod_factory.barcoded_item bi, "
         "millpondprod_factory.module_apd_connection mac, millpondprod_factory.brio_connection nc "
         "where right(bi.barcode,7)=right(astat.apd_id,7) and bi.glassfish_discriminator='apd' "
         "and mac.apd=bi.barcoded_item_id and nc.connection_id=mac.connection_id and bi.date_added < '" +
         time + "'  and (nc.date_removed is NULL or nc.date_removed > '" + time +
         "') and (bi.date_removed is NULL or bi.date_removed > '" + time +
         "')"
         "ORDER BY right(astat.apd_id, 7) ASC, astat.target_degc ASC";
}

/// The rows of that statement, each APD under the module it is connected to.
APDsByModule ReadAPDs(const PGresult* rows, const GainsBySerial& gains) {
  APDsByModule apds;
  // One record serves all rows: an APD without gains shows those of the row before it.
  APDInfo apd;
  const char* dateText = nullptr;
  auto gainsOfAPD = gains.end();
  const int nRows = PQntuples(rows);
  for (int row = 0; row < nRows; ++row) {
    const auto text = [&](APDColumn column) { return PQgetvalue(rows, row, column); };
    // An APD has several rows behind one another, so what was worked out for one serves the next.
    const char* serial = text(kSerial);
    if (row == 0 || apd.serial != serial) {
      apd.serial = serial;
      gainsOfAPD = gains.find(apd.serial);
      if (gainsOfAPD != gains.end()) { apd.pixelGains = gainsOfAPD->second; }
      apd.measuredPixels = gainsOfAPD != gains.end() ? 0xFFFFFFFFU : 0U;
    }
    if (dateText == nullptr || std::strcmp(dateText, text(kDateAdded)) != 0) {
      dateText = text(kDateAdded);
      apd.dateAdded = HardwareDate(dateText);
    }
    apd.batchNo = IntegerIn(text(kBatch));
    apd.targetDegC = IntegerIn(text(kTemperature));
    apd.vr = static_cast<float>(NumberIn(text(kVr)));
    apd.barcodedItemId = IntegerIn(text(kItemId));
    apd.module = IntegerIn(text(kModule));
    apd.connectionId = IntegerIn(text(kConnectionId));
    const auto [entry, isNew] = apds.try_emplace(static_cast<std::uint32_t>(apd.module), apd);
    if (!isNew && apd.dateAdded > entry->second.dateAdded) { entry->second = apd; }
  }
  return apds;
}

}  // namespace

/// APDs installed in the far detector at the run's start, by module; none for other detectors.
APDsByModule RunHistory::PullAPDInfoFromDB() {
  ProgressLine("Pull APD Info from DB");
  if (!DetInfo::DetNameOk(detectorName)) {
    throw cet::exception("RunHistory") << "Could not establish detector table connection";
  }
  const auto table = OpenHardwareDatabase(detectorName, timeQueries);
  APDsByModule apds;
  if (DetInfo::GetId(detectorName) == briodaq::cnv::Birch) {
    auto gains = PullGains(*table, detectorId);
    if (!gains) { incompleteParts.emplace_back("gains"); }
    const ResultHandle rows(PerformPGQuery(InstalledAPDsStatement(tStartText), *table));
    if (!rows) { incompleteParts.emplace_back("installed APDs"); }
    LogDebug("RunHistory") << "Found " << PQntuples(rows.get()) << " apds in the db";
    apds = ReadAPDs(rows.get(), std::move(gains).value_or(GainsBySerial()));
  }
  LogDebug("APDInfo") << apds.size() << " apds were installed"
                      << "print out info for all APDs";
  table->CloseConnection();
  return apds;
}

}  // namespace brio::dbi
