#include "tools/report/FactSources.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "database/Session.h"
#include "database/snapshot/SnapshotFile.h"
#include "tools/shared/Loading.h"
#include "tools/shared/RunRange.h"

namespace brio::tools {
namespace {

using dbi::DatabaseKind;
using dbi::snapshot::SnapshotFile;

struct NamedKind {
  DatabaseKind kind;
  const char* name;
};

constexpr std::array kKinds{NamedKind{DatabaseKind::Runs, "runs"},
                            NamedKind{DatabaseKind::Hardware, "hardware"},
                            NamedKind{DatabaseKind::DAQConfiguration, "DAQ configuration"},
                            NamedKind{DatabaseKind::SlowControl, "slow controls"}};

std::string VersionOf(dbi::Session& session) {
  const auto answer = session.Ask({"SELECT current_setting('server_version')", {}, false, 1});
  if (!answer.rows || answer.rows->Count() == 0) { return {}; }
  const std::string version = answer.rows->At(0).Text(0);
  return ", PostgreSQL " + version.substr(0, version.find(' '));  // without the packager's own
}

/// The file, and when and from where it has the run.
void AddSnapshot(const std::string& path, const std::string& detector, int run,
                 std::vector<FactSource>& sources) {
  const auto file = SnapshotFile::Open(path);
  const auto summary = file->Summary();
  sources.push_back({"snapshot", path + ", format " + std::to_string(summary.version) + ", written " +
                                     summary.made + " UTC by brio " + summary.library});
  for (const auto& saved : file->Runs()) {
    if (saved.detector != detector || saved.run != run) { continue; }
    std::vector<std::string> names;
    for (const auto& [kind, source] : saved.sources) {
      const std::string name = source.host + '/' + source.database;
      if (std::find(names.begin(), names.end(), name) == names.end()) { names.push_back(name); }
    }
    std::string from;
    for (const auto& name : names) {
      from += (from.empty() ? " from " : ", ") + name;
    }
    sources.push_back({"taken", saved.taken + " UTC" + from + ", by brio " + saved.library});
  }
}

void AddDatabases(const std::string& detector, int run, std::vector<FactSource>& sources) {
  for (const auto& [kind, name] : kKinds) {
    const auto session = dbi::AcquireSession(detector, kind, 0);
    if (!session) { continue; }  // the load has told why
    const auto source = session->Source();
    if (source.host == "snapshot") {
      AddSnapshot(source.database, detector, run, sources);
      return;
    }
    const std::string text = source.host + '/' + source.database + VersionOf(*session);
    if (!sources.empty() && sources.back().text == text) {
      sources.back().label += std::string(", ") + name;
    } else {
      sources.push_back({name, text});
    }
  }
}

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  std::array<char, 32> text{};
  const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts);
  return {text.data(), length};
}

}  // namespace

std::vector<FactSource> SourcesOf(const std::string& detector, int run) {
  std::vector<FactSource> sources;
  if (!IsSimulated(run)) {
    const Outcome outcome = Attempt([&] {
      AddDatabases(detector, run, sources);
      return true;
    });
    if (!outcome.ok) { sources.push_back({"not known", outcome.reason}); }
  }
  sources.push_back({"read", Now() + ", by runhistory " BRIO_VERSION});
  return sources;
}

}  // namespace brio::tools
