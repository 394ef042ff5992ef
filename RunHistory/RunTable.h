#pragma once

#include <memory>

#include "database/Table.h"

namespace brio::dbi {

/// Opens a table by its definition file, with the two logging switches set.
inline std::unique_ptr<Table> OpenTable(const char* definitionFile, bool timeQueries, bool timeParsing) {
  auto table = std::make_unique<Table>(definitionFile);
  table->SetTimeQueries(timeQueries);
  table->SetTimeParsing(timeParsing);
  return table;
}

/// A table that lends its connection to hand-written SQL on a detector's hardware database.
inline std::unique_ptr<Table> OpenHardwareDatabase(const std::string& detectorName, bool timeQueries) {
  auto table = std::make_unique<Table>();
  table->SetDetector(detectorName);
  table->SetTableType(Table::kHardware);
  table->SetTimeQueries(timeQueries);
  return table;
}

}  // namespace brio::dbi
