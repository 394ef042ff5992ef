#include "tools/maps/AboutRun.h"

#include <vector>

#include "tools/shared/Format.h"
#include "tools/shared/Mask.h"

namespace brio::tools {
namespace {

// What a run record shows whose start was never recorded.
constexpr const char* kNoStart = "2010-01-01 00:00:00";

std::string DiBlocks(const std::vector<int>& numbers) {
  if (numbers.empty()) { return "no diblock"; }
  return (numbers.size() == 1 ? "diblock " : "diblocks ") + Ranges(numbers);
}

std::string MaskText(const brio::dbi::RunHistory& history, const Options& options) {
  if (!(options.useMask || options.customMask || options.analysisMask)) { return "no mask"; }
  if (history.GetDetectorId() == briodaq::cnv::Alder) { return "no mask, for the near detector has none"; }
  const bool isFar = history.GetDetectorId() == briodaq::cnv::Birch;
  const std::string diblocks = ": " + DiBlocks(DiBlocksOf(history.GetGoodDiBlockMask()));
  if (isFar && options.customMask) { return "custom mask" + diblocks; }
  if (history.IsMC()) { return "no mask"; }
  // What a run record shows whose mask was never stored.
  constexpr int kNotStored = 0xFFFF;
  if (history.GetGoodDiBlockMask() == kNotStored) { return "no good-diblock mask is stored"; }
  return std::string("good-diblock mask") +
         (isFar && options.analysisMask ? " after the analysis rule" : "") + diblocks;
}

}  // namespace

std::string AboutRun(brio::dbi::RunHistory& history, const Options& options) {
  std::string text = "run " + std::to_string(history.GetRunNumber()) + ": ";
  if (history.IsMC()) {
    text += "simulated";
  } else {
    const std::string start = history.TStartAsString();
    text += start == kNoStart ? "start not recorded" : start + " UTC";
    if (!history.GetRunType().empty()) { text += ", " + history.GetRunType(); }
    if (history.GetConfigId() != 0) { text += ", configuration " + std::to_string(history.GetConfigId()); }
  }
  std::vector<int> numbers;
  for (const auto& diblock : history.GetDiBlocks()) {
    numbers.push_back(diblock.number);
  }
  return text + ", " + DiBlocks(numbers) + ", " + MaskText(history, options);
}

}  // namespace brio::tools
