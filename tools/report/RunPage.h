#pragma once

#include <string>

#include "tools/report/RunReport.h"

namespace brio::tools {

/// A report as one HTML document that needs nothing else.
/// \param index  the page that links to it; empty for none
std::string RunPage(const RunReport& report, const std::string& index = "");

}  // namespace brio::tools
