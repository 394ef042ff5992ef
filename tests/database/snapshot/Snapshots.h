#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "database/Session.h"
#include "database/snapshot/SnapshotWriter.h"
#include "tests/database/Fixtures.h"

namespace brio::test {

/// A value, or NULL.
using Value = std::optional<std::string>;
using ValueRows = std::vector<std::vector<Value>>;

inline dbi::Statement Asked(const std::string& text, std::vector<std::string> parameters = {},
                            bool binary = false) {
  dbi::Statement statement;
  statement.text = text;
  statement.parameters = std::move(parameters);
  statement.binary = binary;
  return statement;
}

inline dbi::snapshot::AnswerKey Key(const std::string& text, const std::string& detector = "Birch",
                                    dbi::DatabaseKind kind = dbi::DatabaseKind::Runs) {
  return {detector, kind, Asked(text)};
}

dbi::snapshot::RecordedRows Recorded(const ValueRows& rows);
/// Text columns named "a", "b", …
std::vector<dbi::snapshot::ResultColumn> TextColumns(std::size_t count);
/// The rows of a session's answer; nothing when the statement failed.
std::optional<ValueRows> RowsOf(dbi::Session& session, const dbi::Statement& statement);

dbi::snapshot::SavedRun SavedRunOf(int number, const std::string& detector = "Birch",
                                   dbi::snapshot::RunState state = dbi::snapshot::RunState::Whole);

/// Writes a snapshot of two runs of Birch, 13000 and 13001, and gives its path. "facts of N" has two columns,
/// of which the first is noise, and belongs to run N, with `rows` rows; "shared" belongs to both; "own" to
/// none.
std::string WriteSample(const TemporaryFolder& folder, int rows = 3);

}  // namespace brio::test
