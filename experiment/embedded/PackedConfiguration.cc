#include "experiment/embedded/PackedConfiguration.h"

#include "database/Timing.h"
#include "experiment/embedded/ConfigurationQuery.h"
#include "framework/MessageLogger.h"

namespace dbutils::daqconfig {

bool ReadPacked(const char* statement, int columns, long long configId, const char* what, FoundDCMs& dcms,
                const StoreDCM& store) {
  const auto rows =
      QueryConfiguration(brio::dbi::DatabaseKind::DAQConfiguration, kCategory, statement, columns, configId);
  if (!rows) { return false; }
  if (rows->Count() == 0) {
    brio::LogError(kCategory) << "there is no configuration " << configId << " in daqconfig.configurations";
    return false;
  }
  const brio::dbi::ConversionTimer timer(what, rows->Count());
  for (const auto row : *rows) {
    if (row.IsNull(0)) { continue; }
    const auto position = dcms.Index().Find(TextAt(row, 0));
    if (position && store(row, *position)) { dcms.MarkFound(*position); }
  }
  return dcms.AllFound(kCategory, configId, what);
}

}  // namespace dbutils::daqconfig
