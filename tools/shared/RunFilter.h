#pragma once

#include <CLI/CLI.hpp>

#include "arrays/Runs.h"
#include "tools/shared/Options.h"

namespace brio::tools {

/// Adds the options that choose runs by what the runs table says of them, for a verb that answers for many:
/// --since, --until, --type, --partition, --config, --where, --limit.
void AddRunFilter(CLI::App& command, arrays::RunSelection& selection);

/// Whether a selection chooses by anything but numbers.
bool HasFilter(const arrays::RunSelection& selection);

/// Adds the numbers of `--run` to a selection, where it was given.
void SetRuns(const CLI::App& command, const Options& options, arrays::RunSelection& selection);

}  // namespace brio::tools
