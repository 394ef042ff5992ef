#include <iterator>
#include <utility>

#include "RunHistory/HardwareDate.h"
#include "RunHistory/NumberText.h"
#include "RunHistory/PixelGains.h"
#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "RunHistory/RunTable.h"
#include "RunHistory/StatementTime.h"
#include "database/PlainText.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

namespace brio::dbi {

using briodaq::cnv::DetInfo;

namespace {

enum APDColumn { kSerial, kBatch, kTemperature, kVr, kItemId, kDateAdded, kModule, kConnectionId };
constexpr int kColumns = 9;
constexpr std::uint32_t kAllPixels = 0xFFFFFFFF;

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

/// Takes the rows of that statement in their order. Only what is kept is converted: of each module the row
/// with the latest date, of rows with equal dates the first.
class APDReader {
public:
  explicit APDReader(const GainsBySerial& gains) : gains_(gains), gainsOfAPD_(gains.end()) {}
  void Take(const RowView& row);
  APDsByModule TakeAPDs() { return std::move(apds_); }

private:
  void BeginAPD(const char* serial);
  bool HasOwnGains() const { return gainsOfAPD_ != gains_.end() && gainsOfAPD_->first == serial_; }

  const GainsBySerial& gains_;
  /// Of the row's APD; of the last one before it that has gains where this one has none.
  GainsBySerial::const_iterator gainsOfAPD_;
  bool hasBegun_ = false;
  std::string serial_;
  std::string dateText_;
  double date_ = 0.0;
  APDsByModule apds_;
  APDsByModule::iterator last_ = apds_.end();  ///< the module of the row before
};

void APDReader::Take(const RowView& row) {
  // An APD has several rows behind one another, so what was worked out for one serves the next.
  const char* serial = row.Text(kSerial);
  if (!hasBegun_ || serial_ != serial) { BeginAPD(serial); }
  const char* dateText = row.Text(kDateAdded);
  if (dateText_ != dateText) {
    dateText_ = dateText;
    date_ = HardwareDate(dateText);
  }
  const int number = IntegerIn(row.Text(kModule));
  const auto module = static_cast<std::uint32_t>(number);
  const bool isLast = last_ != apds_.end() && last_->first == module;
  const auto entry = isLast ? last_ : apds_.lower_bound(module);
  const bool isNew = entry == apds_.end() || entry->first != module;
  last_ = entry;
  if (!isNew && !(date_ > entry->second.dateAdded)) { return; }
  APDInfo apd{serial_,
              IntegerIn(row.Text(kItemId)),
              IntegerIn(row.Text(kBatch)),
              IntegerIn(row.Text(kTemperature)),
              FloatIn(row.Text(kVr)),
              number,
              IntegerIn(row.Text(kConnectionId)),
              date_,
              gainsOfAPD_ == gains_.end() ? APDInfo().pixelGains : gainsOfAPD_->second,
              HasOwnGains() ? kAllPixels : 0};
  if (isNew) {
    last_ = apds_.emplace_hint(entry, module, std::move(apd));
  } else {
    entry->second = std::move(apd);
  }
}

void APDReader::BeginAPD(const char* serial) {
  hasBegun_ = true;
  serial_ = serial;
  // Rows and gains are in the same order, so the next gains are likely these.
  auto found = gainsOfAPD_ == gains_.end() ? gains_.begin() : std::next(gainsOfAPD_);
  if (found == gains_.end() || found->first != serial_) { found = gains_.find(serial_); }
  if (found != gains_.end()) { gainsOfAPD_ = found; }
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
    const auto gains = PullGains(*table, detectorId);
    if (!gains) { incompleteParts.emplace_back("gains"); }
    const GainsBySerial noGains;
    APDReader reader(gains ? *gains : noGains);
    const auto nRows = PerformPGQueryAt(
        tStartText, InstalledAPDsStatement(tStartText), *table,
        [&reader](const RowView& row) { reader.Take(row); }, kColumns);
    LogDebug("RunHistory") << "Found " << nRows.value_or(0) << " apds in the db";
    if (nRows) {
      apds = reader.TakeAPDs();
    } else {
      incompleteParts.emplace_back("installed APDs");
    }
  }
  LogDebug("APDInfo") << apds.size() << " apds were installed"
                      << "print out info for all APDs";
  table->CloseConnection();
  return apds;
}

}  // namespace brio::dbi
