#include "RunHistory/DQSubrunInfo.h"

#include <tuple>

#include "RunHistory/FreshTry.h"
#include "database/LoadScope.h"

namespace brio::dbi {

std::vector<DQSubrunInfo> RunHistory::GetDQSubrunInfo() {
  if (dqSubrunInfoLoaded) { return dqSubrunInfo; }
  dqSubrunInfo.clear();
  const LoadScope scope(runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return GetDQSubrunInfo(); }, std::tie(dqSubrunInfoLoaded, dqSubrunInfo));
  }
  Table table("RunHistory/tables/DQSubrunInfo.xml");
  table.SetDetector(detectorName);
  table.SetValidityRange<int>("run", runNumber);
  table.AddOrderColumn("version");
  table.SetOrderDesc();
  for (const char* column : {"comment", "inserttime", "insertuser"}) {
    table.AddExcludeCol(column);
  }
  table.Load();
  const auto columns = table.GetColNameToIndexMap();
  const auto read = [&](const Row& row, const char* name, auto& out) {
    const auto column = columns.find(name);
    if (column != columns.end()) { row.Col(column->second).Get(out); }
  };
  // Rows come with the newest version first.
  std::int32_t newest = 0;
  for (int i = 0; i < table.NRow(); ++i) {
    const Row& row = *table.GetRow(i);
    std::int32_t version = 0;
    read(row, "version", version);
    if (i == 0) { newest = version; }
    if (version != newest) { break; }
    DQSubrunInfo info;
    info.run = runNumber;
    info.version = newest;
    read(row, "subrun", info.subrun);
    read(row, "flag", info.flag);
    read(row, "miprate", info.miprate);
    read(row, "ngooddb", info.ngooddb);
    read(row, "numslc", info.numslc);
    read(row, "trkfrac", info.trkfrac);
    dqSubrunInfo.push_back(info);
  }
  dqSubrunInfoLoaded = true;
  return dqSubrunInfo;
}

}  // namespace brio::dbi
