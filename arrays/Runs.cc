#include "arrays/Runs.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

#include "RunHistory/ApplicationName.h"
#include "RunHistory/DetInfo.h"
#include "arrays/RunStatement.h"
#include "database/LoadScope.h"
#include "database/Session.h"
#include "database/Util.h"
#include "database/snapshot/HeldRuns.h"
#include "framework/MessageLogger.h"

namespace brio::arrays {
namespace {

using brio::dbi::RowView;

constexpr int kFirstRealRun = 10000;
constexpr int kLastRealRun = 999999;

/// What became of the statement for a selection.
struct Asked {
  std::optional<brio::dbi::Rows> rows;  ///< nothing when it failed, which is logged
  /// It failed for what it names, a table or a column that is not there or must not be read.
  bool isAboutNames = false;
};

Asked Ask(const std::string& detector, const RunSelection& selection) {
  Asked asked;
  const auto statement = RunStatement(detector, selection);
  const auto session = brio::dbi::AcquireSession(detector, brio::dbi::DatabaseKind::Runs, 0);
  if (!session) { return asked; }
  auto result = session->Execute(statement);
  if (PQresultStatus(result.get()) == PGRES_TUPLES_OK) {
    asked.rows.emplace(std::move(result));
  } else if (const char* state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE)) {
    asked.isAboutNames = std::strncmp(state, "42", 2) == 0 || std::strcmp(state, "3F000") == 0;
  }
  return asked;
}

template <class Number>
Value<Number> NumberAt(const RowView& row, int column) {
  Value<Number> value{Number(), Status::NotRecorded};
  if (row.IsNull(column)) { return value; }
  const char* text = row.Text(column);
  const auto read = std::from_chars(text, text + std::strlen(text), value.value);
  if (read.ec == std::errc()) { value.status = Status::Known; }
  return value;
}

Value<std::string> TextAt(const RowView& row, int column) {
  if (row.IsNull(column)) { return {{}, Status::NotRecorded}; }
  return {row.Text(column), Status::Known};
}

Value<long long> SecondsBetween(const Value<std::string>& start, const Value<std::string>& stop) {
  long from = 0;
  long to = 0;
  const bool areTimes = brio::dbi::Util::TimeAsStringToTime_t(start.value, from) &&
                        brio::dbi::Util::TimeAsStringToTime_t(stop.value, to);
  if (!areTimes || to < from) { return {0, Status::NotRecorded}; }
  return {to - from, Status::Known};
}

/// Counts as the loader of a run does: each diblock once, of DCMs that it has room for. \return nothing for a
/// name that is too short, with which no run can be loaded
std::optional<int> CountDiBlocks(const char* names, int mostDCMs) {
  std::set<int> diblocks;
  for (const char* name = names; *name != '\0';) {
    const char* end = name + std::strcspn(name, "\n");
    try {
      const auto place = brio::dbi::PlaceOfDCM(std::string(name, end));
      if (place.dcm >= 1 && place.dcm <= mostDCMs) { diblocks.insert(place.diblock); }
    } catch (const std::out_of_range&) { return std::nullopt; }
    name = *end == '\0' ? end : end + 1;
  }
  return static_cast<int>(diblocks.size());
}

void ReadResources(const RowView& row, int mostDCMs, RunLine& line) {
  line.dcms = NumberAt<int>(row, kDCMs);
  if (!line.dcms.IsKnown()) {
    line.dcms.status = line.diblocks.status = Status::NotInRun;
    return;
  }
  const auto diblocks = CountDiBlocks(row.Text(kDCMNames), mostDCMs);
  line.diblocks = {diblocks.value_or(0), diblocks ? Status::Known : Status::RunNotLoaded};
}

RunLine LineOf(const RowView& row) {
  RunLine line;
  line.run = NumberAt<int>(row, kRun).value;
  line.start = TextAt(row, kStart);
  line.stop = TextAt(row, kStop);
  line.duration = SecondsBetween(line.start, line.stop);
  line.type = TextAt(row, kType);
  line.partition = NumberAt<int>(row, kPartition);
  line.configuration = NumberAt<long long>(row, kConfiguration);
  line.subruns = NumberAt<int>(row, kSubruns);
  line.diblocks.status = line.dcms.status = line.pot.status = line.goodDiBlocks.status = Status::NotAsked;
  return line;
}

std::vector<RunLine> LinesOf(const brio::dbi::Rows& rows, const std::string& detector,
                             const RunSelection& selection) {
  constexpr int kMostDCMs = 12;
  constexpr int kMostNearDCMs = 4;
  const bool isNear = briodaq::cnv::DetInfo::GetId(detector) == briodaq::cnv::Alder;
  const auto count = static_cast<std::size_t>(rows.Count());
  const bool areCounted =
      selection.withResources && (selection.mostWithResources == 0 || count <= selection.mostWithResources);
  std::vector<RunLine> runs;
  runs.reserve(count);
  for (const RowView row : rows) {
    RunLine& line = runs.emplace_back(LineOf(row));
    if (areCounted) { ReadResources(row, isNear ? kMostNearDCMs : kMostDCMs, line); }
    if (selection.withPOT) { line.pot = NumberAt<float>(row, kPOT); }
    if (selection.withMasks) { line.goodDiBlocks = NumberAt<int>(row, kMask); }
  }
  return runs;
}

using Part = bool RunSelection::*;
constexpr std::array<Part, 3> kParts{&RunSelection::withResources, &RunSelection::withPOT,
                                     &RunSelection::withMasks};

bool HasParts(const RunSelection& selection) {
  return std::any_of(kParts.begin(), kParts.end(), [&](Part part) { return selection.*part; });
}

/// What can be read of a selection beside which something cannot: the runs themselves, then part by part.
std::optional<std::vector<RunLine>> ListIncompletely(const std::string& detector,
                                                     const RunSelection& selection) {
  RunSelection readable = selection;
  for (const Part part : kParts) {
    readable.*part = false;
  }
  auto rows = Ask(detector, readable).rows;
  if (!rows) { return std::nullopt; }
  for (const Part part : kParts) {
    if (!(selection.*part)) { continue; }
    readable.*part = true;
    auto more = Ask(detector, readable).rows;
    readable.*part = more.has_value();
    if (more) { rows = std::move(more); }
  }
  auto runs = LinesOf(*rows, detector, readable);
  const auto isMissing = [&](Part part) { return selection.*part && !(readable.*part); };
  for (auto& line : runs) {
    if (isMissing(&RunSelection::withResources)) {
      line.diblocks.status = line.dcms.status = Status::RunNotLoaded;
    }
    if (isMissing(&RunSelection::withPOT)) { line.pot.status = Status::RunNotLoaded; }
    if (isMissing(&RunSelection::withMasks)) { line.goodDiBlocks.status = Status::RunNotLoaded; }
  }
  return runs;
}

bool Fits(const RunLine& line, const RunSelection& selection) {
  const auto is = [](const auto& value, const auto& wanted) {
    return !wanted || (value.IsKnown() && value.value == *wanted);
  };
  return is(line.type, selection.type) && is(line.partition, selection.partition) &&
         is(line.configuration, selection.configuration);
}

/// Without what the selection does not ask for.
void Reduce(std::vector<RunLine>& runs, const RunSelection& selection) {
  const bool areCounted = selection.withResources &&
                          (selection.mostWithResources == 0 || runs.size() <= selection.mostWithResources);
  for (auto& line : runs) {
    if (!areCounted) {
      line.diblocks = {0, Status::NotAsked};
      line.dcms = {0, Status::NotAsked};
    }
    if (!selection.withPOT) { line.pot = {0.0F, Status::NotAsked}; }
    if (!selection.withMasks) { line.goodDiBlocks = {0, Status::NotAsked}; }
  }
}

/// The list that a snapshot gives: put together from what it holds of each run. A run between the first and
/// the last that it does not hold is a failure, not one that is missing.
std::optional<std::vector<RunLine>> ListHeld(const std::string& detector, const RunSelection& selection,
                                             const std::vector<int>& held) {
  if (selection.since || selection.until || selection.at || !selection.where.empty()) {
    LogError("BrioDatabase")
        << "the runs of a snapshot cannot be chosen by times or comparisons, only by number, type, partition "
           "and configuration";
    return std::nullopt;
  }
  const auto isIn = [&](int run) {
    return run >= selection.first.value_or(run) && run <= selection.last.value_or(run);
  };
  std::set<int> wanted;
  std::copy_if(held.begin(), held.end(), std::inserter(wanted, wanted.end()), isIn);
  int next = std::max(selection.first.value_or(kFirstRealRun), kFirstRealRun);
  const int last = selection.first && selection.last ? std::min(*selection.last, kLastRealRun) : next - 1;
  while (next <= last && wanted.count(next) > 0) {
    ++next;
  }
  if (next <= last) { wanted.insert(next); }  // one that is not held is enough to be told of
  std::vector<RunLine> runs;
  for (const int run : wanted) {
    const brio::dbi::LoadScope scope(run);
    const auto rows = Ask(detector, AllOf(run)).rows;
    if (!rows) { return std::nullopt; }
    for (auto& line : LinesOf(*rows, detector, AllOf(run))) {
      if (Fits(line, selection)) { runs.push_back(std::move(line)); }
    }
  }
  if (selection.newest > 0 && runs.size() > selection.newest) {
    runs.erase(runs.begin(), runs.end() - static_cast<std::ptrdiff_t>(selection.newest));
  }
  Reduce(runs, selection);
  return runs;
}

}  // namespace

RunSelection AllOf(int run) {
  RunSelection selection;
  selection.first = selection.last = run;
  selection.withResources = selection.withPOT = selection.withMasks = true;
  return selection;
}

std::optional<std::vector<RunLine>> ListRuns(const std::string& detector, const RunSelection& selection) {
  if (const auto held = brio::dbi::snapshot::RunsInstead(detector, RunStatement(detector, selection))) {
    return ListHeld(detector, selection, *held);
  }
  const brio::dbi::LoadScope scope;
  const Asked asked = Ask(detector, selection);
  if (asked.rows) { return LinesOf(*asked.rows, detector, selection); }
  if (!asked.isAboutNames || !HasParts(selection)) { return std::nullopt; }
  return ListIncompletely(detector, selection);
}

}  // namespace brio::arrays
