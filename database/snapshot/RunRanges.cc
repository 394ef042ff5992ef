#include "database/snapshot/RunRanges.h"

namespace brio::dbi::snapshot {
namespace {

constexpr std::size_t kMostRanges = 8;

/// The last of the runs that follow one another from there on.
std::size_t EndOfRange(const std::vector<RunRow>& runs, std::size_t at) {
  while (at + 1 < runs.size() && runs[at + 1].detector == runs[at].detector &&
         runs[at + 1].run == runs[at].run + 1) {
    ++at;
  }
  return at;
}

}  // namespace

std::string RunRanges(const std::vector<RunRow>& runs) {
  std::string text;
  for (std::size_t at = 0; at < runs.size();) {
    const std::string& detector = runs[at].detector;
    std::string ranges;
    std::size_t nRanges = 0;
    std::size_t nRuns = 0;
    for (; at < runs.size() && runs[at].detector == detector; ++at, ++nRuns) {
      const auto first = at;
      at = EndOfRange(runs, at);
      nRuns += at - first;
      if (++nRanges > kMostRanges) { continue; }
      ranges += (nRanges > 1 ? ", " : "") + std::to_string(runs[first].run);
      if (at > first) { ranges += '-' + std::to_string(runs[at].run); }
    }
    if (nRanges > kMostRanges) { ranges += ", …"; }
    text += text.empty() ? "" : " and ";
    text += (nRuns == 1 ? "run " : "runs ") + ranges + " of " + detector;
  }
  return text.empty() ? "no runs" : text;
}

}  // namespace brio::dbi::snapshot
