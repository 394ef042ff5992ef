#pragma once

#include <string>

#include "tools/shared/Format.h"

namespace brio::tools {

/// Puts a page together: a template of this folder, the style sheet, the script and the data that the script
/// reads. A content security policy allows these two by their hashes, and nothing else.
std::string PageOf(const std::string& file, Json members, const Json& data);

}  // namespace brio::tools
