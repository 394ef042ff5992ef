#pragma once

#include <string>
#include <vector>

#include "framework/Export.h"

namespace brio::dbi {

/// The folders in which a relative path of a definition file is tried: those of BRIO_SEARCH_PATH (separated
/// by colons), the share folder that was installed with this library, the current folder.
BRIO_EXPORT_PRIVATE std::vector<std::string> SearchFolders();

}  // namespace brio::dbi
