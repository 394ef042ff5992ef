#include <iostream>
#include <tuple>

#include "RunHistory/FreshTry.h"
#include "RunHistory/RunTable.h"
#include "database/LoadScope.h"
#include "database/PlainText.h"
#include "database/Timing.h"

namespace brio::dbi {

bool RunHistory::LoadPOT() {
  if (potLoaded) { return true; }
  totalPOT = 0.0F;
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  if (LoadScope::IsOutermost()) {
    return WithFreshTry([this] { return LoadPOT(); }, std::tie(potLoaded, totalPOT));
  }
  const auto table = OpenTable("RunHistory/tables/POTByRun.xml", timeQueries, timeParsing);
  if (!briodaq::cnv::DetInfo::DetNameOk(detectorName)) { return false; }
  table->SetDetector(detectorName);
  const int potColumn = table->GetColIndex("npot");
  table->SetValidityRange<int>("run", runNumber);
  table->Load();
  if (table->NRow() == 0) {
    WriteLine(std::cerr, "RunHistory::LoadPOT(): No POT info found for run ", runNumber);
    return false;
  }
  const ConversionTimer timer("beam.potbyrun", table->NRow());
  table->GetRow(0)->Col(potColumn).Get(totalPOT);
  potLoaded = true;
  return true;
}

}  // namespace brio::dbi
