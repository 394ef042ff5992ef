#include "tests/database/snapshot/Snapshots.h"

#include <random>

namespace brio::test {

using dbi::snapshot::RecordedRows;
using dbi::snapshot::SnapshotWriter;

RecordedRows Recorded(const ValueRows& rows) {
  RecordedRows recorded;
  for (const auto& row : rows) {
    std::vector<dbi::Cell> cells;
    for (const auto& value : row) {
      cells.push_back(value ? dbi::Cell{value->c_str(), static_cast<int>(value->size())} : dbi::Cell());
    }
    recorded.Add(dbi::RowView(cells.data(), static_cast<int>(cells.size())));
  }
  return recorded;
}

std::vector<dbi::snapshot::ResultColumn> TextColumns(std::size_t count) {
  std::vector<dbi::snapshot::ResultColumn> columns(count);
  for (std::size_t i = 0; i < count; ++i) {
    columns[i] = {std::string(1, static_cast<char>('a' + i)), 25, -1, -1, 0, 0, 0};
  }
  return columns;
}

std::optional<ValueRows> RowsOf(dbi::Session& session, const dbi::Statement& statement) {
  const auto answer = session.Ask(statement);
  if (!answer.rows) { return std::nullopt; }
  ValueRows rows;
  for (const auto row : *answer.rows) {
    rows.emplace_back();
    for (int i = 0; i < row.Columns(); ++i) {
      const std::string text(row.Text(i), static_cast<std::size_t>(row.Length(i)));
      rows.back().push_back(row.IsNull(i) ? Value() : Value(text));
    }
  }
  return rows;
}

dbi::snapshot::SavedRun SavedRunOf(int number, const std::string& detector, dbi::snapshot::RunState state) {
  return {detector, number,
          state,    "2024-01-31 12:00:00",
          "0.1.0",  {{dbi::DatabaseKind::Runs, {"db.example.org", "runs"}}}};
}

std::string WriteSample(const TemporaryFolder& folder, int rows) {
  const std::string path = folder.Path() + "/sample.brio";
  SnapshotWriter writer(path);
  const auto shared = writer.Add(Key("shared"), TextColumns(1), Recorded({{"the same"}}));
  std::mt19937 random(1);
  for (const int run : {13000, 13001}) {
    ValueRows facts;
    for (int i = 0; i < rows; ++i) {
      facts.push_back({std::to_string(random()) + std::to_string(random()), std::to_string(i % 3)});
    }
    const auto own = writer.Add(Key("facts of " + std::to_string(run)), TextColumns(2), Recorded(facts));
    writer.AddRun(SavedRunOf(run), {shared, own});
  }
  writer.Add(Key("own"), TextColumns(1), Recorded({{"a client's"}}));
  writer.Commit();
  return path;
}

}  // namespace brio::test
