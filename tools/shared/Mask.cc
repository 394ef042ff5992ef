#include "tools/shared/Mask.h"

#include "database/LoadScope.h"
#include "database/Table.h"
#include "tools/shared/RunRange.h"

namespace brio::tools {

StoredMask LoadStoredMask(int run, const std::string& detector) {
  StoredMask stored;
  if (briodaq::cnv::DetInfo::GetId(detector) == briodaq::cnv::Alder) {
    stored.outcome.reason = "the near detector has no mask";
    return stored;
  }
  if (IsSimulated(run)) {
    stored.outcome.reason = "a simulated run has no mask";
    return stored;
  }
  // Read as the library reads it, which takes a mask that is NULL, or no number, for one of no good diblock.
  const brio::dbi::LoadScope scope;
  brio::dbi::Table table("RunHistory/tables/GoodDiBlocksVsRun.xml");
  table.SetDetector(detector);
  table.SetValidityRange<int>("run", run);
  table.AddOrderColumn("inserttime");
  table.SetOrderDesc();
  bool isThere = false;
  bool isNumber = false;
  stored.outcome = Attempt([&] {
    if (!table.Load()) { return false; }
    isThere = table.NRow() > 0;
    isNumber = isThere && table.GetRow(0)->Col(table.GetColIndex("dbmask")).Get(stored.mask);
    return true;
  });
  if (!stored.outcome.ok) { return stored; }
  stored.outcome.ok = isNumber;
  if (!isThere) {
    stored.outcome.reason = "No mask found in DB!";
  } else if (!isNumber) {
    const bool isNull = table.GetRow(0)->Col(table.GetColIndex("dbmask")).Text() == nullptr;
    stored.outcome.reason = std::string("the newest mask is ") + (isNull ? "NULL" : "no number") +
                            ", which leaves every diblock out where the mask is used";
  }
  return stored;
}

std::vector<int> DiBlocksOf(int mask) {
  constexpr int kFarDiBlocks = 14;
  std::vector<int> numbers;
  for (int i = 0; i < kFarDiBlocks; ++i) {
    if (((static_cast<unsigned int>(mask) >> static_cast<unsigned int>(i)) & 1U) != 0) {
      numbers.push_back(i + 1);
    }
  }
  return numbers;
}

}  // namespace brio::tools
