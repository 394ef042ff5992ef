#include "database/snapshot/TakenNow.h"

#include <array>
#include <ctime>
#include <utility>

#include "database/snapshot/SnapshotVersion.h"

namespace brio::dbi::snapshot {

SavedRun TakenNow(const std::string& detector, int run, RunState state) {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  gmtime_r(&now, &fields);
  std::array<char, 32> text{};
  static_cast<void>(std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &fields));
  SavedRun saved;
  saved.detector = detector;
  saved.run = run;
  saved.state = state;
  saved.taken = text.data();
  saved.library = LibraryVersion();
  return saved;
}

RunSource SourceOf(DatabaseKind kind, SessionSource source) {
  if (source.host.rfind('/', 0) == 0) { source.host = "local"; }
  // Of a snapshot that runs are copied from, likewise.
  if (source.host == "snapshot") { source.database.erase(0, source.database.find_last_of('/') + 1); }
  return {kind, std::move(source)};
}

}  // namespace brio::dbi::snapshot
