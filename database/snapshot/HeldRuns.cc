#include "database/snapshot/HeldRuns.h"

#include "database/ConnectionString.h"
#include "database/snapshot/SnapshotFile.h"
#include "database/snapshot/SnapshotPath.h"
#include "database/snapshot/StoredAnswer.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {
namespace {

bool Holds(SnapshotFile& file, const std::string& detector, const Statement& statement) {
  try {
    return file.Find({detector, DatabaseKind::Runs, statement}, std::nullopt) != nullptr;
  } catch (const cet::exception&) { return false; }
}

}  // namespace

std::optional<std::vector<int>> RunsInstead(const std::string& detector, const Statement& statement) {
  const auto connectionString = ExpandConnectionString(detector, DatabaseKind::Runs);
  const auto name = connectionString ? SnapshotName(*connectionString) : std::nullopt;
  if (!name) { return std::nullopt; }
  try {
    const auto file = SnapshotFile::Open(SnapshotPath(*name));
    if (Holds(*file, detector, statement)) { return std::nullopt; }
    std::vector<int> held;
    for (const auto& run : file->Runs()) {
      if (run.detector == detector) { held.push_back(run.run); }
    }
    return held;
  } catch (const cet::exception&) { return std::nullopt; }
}

}  // namespace brio::dbi::snapshot
