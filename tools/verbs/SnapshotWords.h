#pragma once

#include <string>

#include "database/snapshot/SavedRun.h"

namespace brio::tools {

/// "whole", "missing" or "part".
const char* WordOf(dbi::snapshot::RunState state);
/// A file's path, or what a connection string such as "snapshot:sample" means.
std::string PathOf(const std::string& file);

}  // namespace brio::tools
