#include "database/snapshot/SnapshotPath.h"

#include <filesystem>

#include "database/SearchPath.h"
#include "framework/exception.h"

namespace brio::dbi::snapshot {
namespace {

constexpr const char* kPrefix = "snapshot:";
constexpr const char* kSample = "sample.brio";

/// Beside the definition files, or where the source has it.
std::string Sample() {
  for (const auto& folder : SearchFolders()) {
    for (const char* place : {"", "snapshot"}) {
      const auto file = std::filesystem::path(folder) / place / kSample;
      std::error_code error;
      if (std::filesystem::is_regular_file(file, error)) { return file.string(); }
    }
  }
  throw cet::exception("BrioDatabase")
      << "the sample snapshot, " << kSample << ", is neither installed nor on BRIO_SEARCH_PATH";
}

}  // namespace

std::optional<std::string> SnapshotName(const std::string& connectionString) {
  const std::string prefix = kPrefix;
  if (connectionString.compare(0, prefix.size(), prefix) != 0) { return std::nullopt; }
  return connectionString.substr(prefix.size());
}

std::string SnapshotPath(const std::string& name) {
  if (name == "none") {
    throw cet::exception("BrioDatabase")
        << "\"snapshot:none\" forbids every database, so nothing can be loaded";
  }
  if (name.empty()) {
    throw cet::exception("BrioDatabase") << "\"snapshot:\" is not followed by a file's name";
  }
  return name == "sample" ? Sample() : name;
}

}  // namespace brio::dbi::snapshot
