#pragma once

#include <string>

#include "RunHistory/RunHistory.h"
#include "tools/shared/Options.h"

namespace brio::tools {

/// What a loaded run was and how it is asked, in a line for a picture's heading: "run 13000: 2014-06-10
/// 03:00:00 UTC, Physics, configuration 1001, diblocks 1-14, no mask".
std::string AboutRun(brio::dbi::RunHistory& history, const Options& options);

}  // namespace brio::tools
