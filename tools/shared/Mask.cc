#include "tools/shared/Mask.h"

namespace brio::tools {

StoredMask LoadStoredMask(int run, const std::string& detector) {
  brio::dbi::RunHistory history(run, detector);
  history.SetUseGoodDiBlockMask(true);
  history.SetAbortIfNoMask(true);
  StoredMask stored;
  stored.outcome = Attempt([&] { return history.LoadGoodDiBlockMask(); });
  stored.mask = history.GetGoodDiBlockMask();
  if (!stored.outcome.ok) { return stored; }
  // The library stops using the mask where there is none to use; then any diblock is good.
  constexpr int kNoDiBlock = 0;
  if (history.IsGoodDiBlock(kNoDiBlock)) {
    const bool isNear = history.GetDetectorId() == briodaq::cnv::Alder;
    stored.outcome.ok = false;
    stored.outcome.reason = isNear ? "the near detector has no mask" : "a simulated run has no mask";
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
