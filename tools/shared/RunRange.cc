#include "tools/shared/RunRange.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Progress.h"

namespace brio::tools {
namespace {

constexpr int kFirstRun = 10000;
constexpr int kLastRun = 999999;
constexpr int kShownGaps = 8;

/// \throws std::runtime_error that begins with `failure`
std::vector<arrays::RunLine> Listed(const std::string& detector, const arrays::RunSelection& selection,
                                    const std::string& failure) {
  const Progress progress("listing runs of " + detector);
  const auto complaints = console::Complaints();
  auto lines = arrays::ListRuns(detector, selection);
  if (lines) { return *std::move(lines); }
  const auto complaint = OneLine(console::ComplaintSince(complaints));
  throw std::runtime_error(failure + (complaint.empty() ? "the runs table cannot be read" : complaint));
}

}  // namespace

std::optional<RunRange> ParseRunRange(const std::string& text) {
  const char* const end = text.data() + text.size();
  RunRange range;
  const auto [afterFirst, error] = std::from_chars(text.data(), end, range.first);
  if (error != std::errc()) { return std::nullopt; }
  range.last = range.first;
  if (afterFirst == end) { return range; }
  if (*afterFirst != '-') { return std::nullopt; }
  range.isRange = true;
  const char* const rest = afterFirst + 1;
  if (rest == end) {
    range.isOpen = true;
    return range;
  }
  const auto [afterLast, lastError] = std::from_chars(rest, end, range.last);
  if (lastError != std::errc() || afterLast != end || range.last < range.first) { return std::nullopt; }
  return range;
}

bool IsSimulated(int run) { return run < kFirstRun || run > kLastRun; }

bool IsSimulated(const RunRange& range) {
  return !range.isOpen && (range.last < kFirstRun || range.first > kLastRun);
}

std::vector<arrays::RunLine> RunsOf(const std::string& detector, const RunRange& range,
                                    arrays::RunSelection selection) {
  selection.first = range.first;
  if (!range.isOpen) { selection.last = range.last; }
  auto lines = Listed(detector, selection, "the runs of " + detector + " cannot be listed: ");
  const auto isSame = [](const arrays::RunLine& a, const arrays::RunLine& b) { return a.run == b.run; };
  lines.erase(std::unique(lines.begin(), lines.end(), isSame), lines.end());
  return lines;
}

std::string MissingFrom(const RunRange& range, const std::vector<arrays::RunLine>& lines) {
  if (range.isOpen) { return {}; }
  int next = std::max(range.first, kFirstRun);
  int gaps = 0;
  std::string text;
  const auto take = [&](int end) {  // the runs from `next` to the one before `end`
    if (end <= next || ++gaps > kShownGaps) { return; }
    text += (text.empty() ? "" : ", ") + std::to_string(next);
    if (end - next > 1) { text += "-" + std::to_string(end - 1); }
  };
  for (const auto& line : lines) {
    take(line.run);
    next = line.run + 1;
  }
  take(std::min(range.last, kLastRun) + 1);
  if (gaps > kShownGaps) { text += " and more, in " + std::to_string(gaps) + " gaps"; }
  return text;
}

int LastRun(const std::string& detector) {
  const std::string failure = "the last run of " + detector + " cannot be told: ";
  arrays::RunSelection last;
  last.newest = 1;
  const auto lines = Listed(detector, last, failure);
  if (lines.empty()) { throw std::runtime_error(failure + "the runs table is empty"); }
  return lines.front().run;
}

}  // namespace brio::tools
