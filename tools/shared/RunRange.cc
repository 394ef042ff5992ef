#include "tools/shared/RunRange.h"

#include <charconv>
#include <stdexcept>

#include "database/LoadScope.h"
#include "database/Result.h"
#include "tools/shared/Console.h"

namespace brio::tools {

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

int LastRun(const std::string& detector) {
  const auto complaints = console::Complaints();
  const auto failed = [&](const std::string& otherwise) {
    const auto complaint = console::ComplaintSince(complaints);
    return std::runtime_error("the last run of " + detector +
                              " cannot be told: " + (complaint.empty() ? otherwise : complaint));
  };
  // Its transaction writes nothing, whatever stands in the place of the table.
  const dbi::LoadScope readOnly;
  dbi::Table runs;
  runs.SetDetector(detector);
  PGresult* handedOver = nullptr;
  if (!runs.GetConnection(0) || !runs.ExecuteSQL("SELECT max(run) FROM daq.runs", handedOver, 1)) {
    throw failed("the runs table cannot be asked");
  }
  const dbi::ResultHandle rows(handedOver);
  if (PQresultStatus(rows.get()) != PGRES_TUPLES_OK) { throw failed("the runs table cannot be read"); }
  if (PQgetisnull(rows.get(), 0, 0) != 0) { throw NoRuns(failed("the runs table is empty").what()); }
  const std::string text = PQgetvalue(rows.get(), 0, 0);
  int last = 0;
  std::from_chars(text.data(), text.data() + text.size(), last);
  return last;
}

}  // namespace brio::tools
