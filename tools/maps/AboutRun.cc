#include "tools/maps/AboutRun.h"

#include <vector>

#include "tools/shared/Format.h"
#include "tools/shared/Mask.h"

namespace brio::tools {
namespace {

// What a run record shows whose start was never recorded.
constexpr const char* kNoStart = "2010-01-01 00:00:00";

std::string MaskText(const brio::dbi::RunHistory& history, const Options& options) {
  const bool isFar = history.GetDetectorId() == briodaq::cnv::Birch;
  if (!(options.useMask || options.customMask || options.analysisMask) || history.IsMC()) {
    return "no mask";
  }
  const std::string rule = options.analysisMask ? " after the analysis rule" : "";
  const std::string name = isFar && options.customMask ? "custom mask" : "good-diblock mask";
  return name + rule + ": diblocks " + Ranges(DiBlocksOf(history.GetGoodDiBlockMask()));
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
  return text + ", diblocks " + Ranges(numbers) + ", " + MaskText(history, options);
}

}  // namespace brio::tools
