#include "snapshot/Comparison.h"

#include <algorithm>
#include <string_view>

#include "database/LittleEndian.h"
#include "database/snapshot/StoredAnswer.h"
#include "database/snapshot/StoredColumn.h"
#include "framework/exception.h"
#include "snapshot/Facts.h"
#include "snapshot/RunRecorder.h"

namespace brio::snapshot {
namespace {

using dbi::Cell;
using dbi::snapshot::RecordedAnswer;
using dbi::snapshot::StoredAnswer;
using dbi::snapshot::StoredColumn;

/// All values of a row in one text from which they can be told apart.
void Append(const Cell& cell, std::string& row) {
  row += cell.text == nullptr ? "-" : std::to_string(cell.length) + ':';
  if (cell.text != nullptr) { row.append(cell.text, static_cast<std::size_t>(cell.length)); }
}

std::vector<std::string> RowsOf(const RecordedAnswer& answer) {
  std::vector<std::string> rows(answer.rows.Count());
  for (int column = 0; column < answer.rows.Columns(); ++column) {
    const std::string bytes = answer.rows.EncodedColumn(column);
    dbi::littleendian::Cursor cursor(bytes);
    const StoredColumn values(cursor, static_cast<std::uint32_t>(rows.size()));
    StoredColumn::Reader reader(values);
    for (auto& row : rows) {
      Append(reader.Next(), row);
    }
  }
  return rows;
}

std::vector<std::string> RowsOf(const StoredAnswer& answer) {
  std::vector<std::string> rows(static_cast<std::size_t>(answer.Rows()));
  const std::size_t columns = answer.Columns().size();
  const auto cells = answer.Cells();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t column = 0; column < columns; ++column) {
      Append(cells[i * columns + column], rows[i]);
    }
  }
  return rows;
}

bool IsSame(const RecordedAnswer& now, const StoredAnswer& then) {
  using dbi::snapshot::AnswerForm;
  if (now.hasRows != (then.Form() != AnswerForm::Command)) { return false; }
  if (!now.hasRows) { return true; }
  if (now.digest.has_value() != (then.Form() == AnswerForm::Digest)) { return false; }
  if (now.digest) { return now.digest->name == then.DigestName() && now.digest->bytes == then.Digest(); }
  auto rowsNow = RowsOf(now);
  auto rowsThen = RowsOf(then);
  if (rowsNow == rowsThen) { return true; }
  std::sort(rowsNow.begin(), rowsNow.end());
  std::sort(rowsThen.begin(), rowsThen.end());
  return rowsNow == rowsThen;
}

}  // namespace

RunChange ChangesOf(const dbi::snapshot::SavedRun& run, dbi::snapshot::SnapshotFile& file) {
  RunChange change;
  change.failure = file.Verify(run.detector, run.run);
  if (change.failure) { return change; }
  const auto recorded = Record(run.detector, run.run);
  change.failure = recorded->failure;
  if (change.failure) { return change; }
  const auto note = [&change](const std::string& fact) {
    if (std::find(change.facts.begin(), change.facts.end(), fact) == change.facts.end()) {
      change.facts.push_back(fact);
    }
  };
  // That a run is gone, or has another start than before, shows in its record; what hangs on that differs as
  // well.
  for (const auto& [key, answer] : recorded->answers.Answers()) {
    std::shared_ptr<const StoredAnswer> stored;
    try {
      stored = file.Find(key, run.run);
    } catch (const cet::exception&) {
      // The run is whole, so it was not asked then.
      if (run.state == dbi::snapshot::RunState::Part) { continue; }
    }
    if (!stored || !IsSame(answer, *stored)) { note(FactOf(key.statement)); }
  }
  return change;
}

}  // namespace brio::snapshot
