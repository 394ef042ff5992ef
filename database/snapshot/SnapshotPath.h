#pragma once

#include <optional>
#include <string>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// What follows "snapshot:" in a connection string that begins with it; nothing for others.
BRIO_EXPORT_PRIVATE std::optional<std::string> SnapshotName(const std::string& connectionString);

/// The file behind such a name: "sample" stands for the sample that is installed, or found along
/// BRIO_SEARCH_PATH. \throws cet::exception "BrioDatabase" for "none" and for no name at all.
BRIO_EXPORT_PRIVATE std::string SnapshotPath(const std::string& name);

}  // namespace brio::dbi::snapshot
