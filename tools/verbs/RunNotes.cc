#include "tools/verbs/RunNotes.h"

#include <charconv>
#include <cstring>

#include "database/LoadScope.h"
#include "database/Session.h"
#include "database/Util.h"

namespace brio::tools {
namespace {

using brio::dbi::RowView;

template <class Number>
std::optional<Number> NumberAt(const RowView& row, int column) {
  const char* const text = row.Text(column);
  Number number{};
  const auto read = std::from_chars(text, text + std::strlen(text), number);
  if (read.ec != std::errc()) { return std::nullopt; }
  return number;
}

std::optional<std::string> TextAt(const RowView& row, int column) {
  if (row.IsNull(column)) { return std::nullopt; }
  return row.Text(column);
}

/// Nothing, with the reason in `outcome`, when the rows cannot be had.
std::optional<dbi::Rows> Ask(int run, const std::string& detector, const char* text, int columns,
                             Outcome& outcome) {
  std::optional<dbi::Rows> rows;
  outcome = Attempt([&] {
    const dbi::LoadScope scope;
    const auto session = dbi::AcquireSession(detector, dbi::DatabaseKind::Runs, 0);
    if (!session) { return false; }
    dbi::Statement statement;
    statement.text = text;
    statement.parameters = {std::to_string(run)};
    statement.columns = columns;
    rows = session->Ask(statement).rows;
    return rows.has_value();
  });
  return rows;
}

}  // namespace

RunNotes LoadRunNotes(int run, const std::string& detector) {
  RunNotes notes;
  // The first row of several, as the loader of the run takes it.
  const auto runs =
      Ask(run, detector, "SELECT nevents, shifter, begin_comment, end_comment FROM daq.runs WHERE run = $1",
          4, notes.run);
  if (runs && runs->Count() > 0) {
    const RowView row = runs->At(0);
    notes.events = NumberAt<long long>(row, 0);
    notes.shifter = TextAt(row, 1);
    notes.beginComment = TextAt(row, 2);
    notes.endComment = TextAt(row, 3);
  }
  const auto subruns = Ask(
      run, detector, "SELECT subrun, tstart, tstop FROM daq.subruns WHERE run = $1 ORDER BY subrun, tstart",
      3, notes.subruns);
  if (!subruns) { return notes; }
  for (const RowView row : *subruns) {
    const auto number = NumberAt<int>(row, 0);
    if (number) { notes.times.push_back({*number, row.Text(1), row.Text(2)}); }
  }
  return notes;
}

std::optional<long> DurationOf(const SubrunTimes& subrun) {
  long start = 0;
  long stop = 0;
  const bool areTimes = dbi::Util::TimeAsStringToTime_t(subrun.start, start) &&
                        dbi::Util::TimeAsStringToTime_t(subrun.stop, stop);
  if (!areTimes || stop < start) { return std::nullopt; }
  return stop - start;
}

}  // namespace brio::tools
