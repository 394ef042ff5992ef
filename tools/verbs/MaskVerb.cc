#include <ostream>

#include "tools/shared/Mask.h"
#include "tools/shared/RunByRun.h"

namespace brio::tools {
namespace {

using brio::dbi::RunHistory;

Json JsonOf(const RunHistory& history, int mask) {
  return {{"bits", mask}, {"picture", history.DiBlockMaskToString(mask)}, {"diblocks", DiBlocksOf(mask)}};
}

std::string Line(const std::string& label, const RunHistory& history, int mask) {
  const std::string padding(label.size() < 10 ? 10 - label.size() : 0, ' ');
  return "  " + label + padding + history.DiBlockMaskToString(mask) + "  diblocks " +
         Ranges(DiBlocksOf(mask)) + '\n';
}

/// Where a mask loses bits: the rule's effect.
std::string Change(int before, int after) {
  std::string picture;
  for (int i = 0; i < 14; ++i) {
    const unsigned int bit = 1U << static_cast<unsigned int>(i);
    const bool lost = (static_cast<unsigned int>(before) & ~static_cast<unsigned int>(after) & bit) != 0;
    picture += lost ? 'x' : ' ';
  }
  return picture;
}

/// What is left of a mask by the rule for analyses, which is the far detector's.
void AddAnalysis(int mask, const RunHistory& history, std::ostream& text, Json& object) {
  const int analysis = history.ApplyAnalysisDiBlockMask(mask);
  const int removed = mask & ~analysis;
  object["analysis"] = JsonOf(history, analysis);
  object["removed"] = DiBlocksOf(removed);
  text << Line("analysis", history, analysis);
  if (DiBlocksOf(removed).empty()) {
    text << "  the analysis rule changes nothing\n";
  } else {
    text << "  removed   " << Change(mask, analysis) << "  diblocks " << Ranges(DiBlocksOf(removed)) << '\n';
  }
}

std::string AnswerMask(const Options& options, RunHistory& history, std::ostream& text, Json& object) {
  StoredMask source;
  const char* origin = "database";
  const bool isFar = history.GetDetectorId() == briodaq::cnv::Birch;
  if (options.customMask && isFar) {
    source.outcome.ok = true;
    source.mask = *options.customMask;
    origin = "custom";
  } else {
    source = LoadStoredMask(history.GetRunNumber(), history.GetDetectorName());
  }
  if (!source.outcome.ok) { return source.outcome.reason; }
  object[origin] = JsonOf(history, source.mask);
  text << "Run " << history.GetRunNumber() << " of " << history.GetDetectorName() << ": good diblocks\n"
       << "  diblock   00000000011111\n"
       << "            12345678901234\n"
       << Line(origin, history, source.mask);
  if (isFar) { AddAnalysis(source.mask, history, text, object); }
  return {};
}

}  // namespace

Action PrepareMask(CLI::App& command, const Options& options) {
  RequireRuns(command);
  TakeRunAsArgument(command);
  return [&options] {
    return AnswerRunByRun(options, [&options](RunHistory& history, std::ostream& text, Json& object) {
      return AnswerMask(options, history, text, object);
    });
  };
}

}  // namespace brio::tools
