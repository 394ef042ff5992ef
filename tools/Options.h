#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "RunHistory/RunHistory.h"

namespace brio::tools {

/// The options that every verb takes, spelled the same; a verb that has no use for one accepts it.
struct Options {
  std::string detector;
  int run = 0;
  bool json = false;
  bool verbose = false;
  bool noColor = false;
  bool useMask = false;
  std::optional<int> customMask;
  bool analysisMask = false;
  int retries = 0;
  std::string database;
};

/// Adds the shared options to a verb's command line.
void AddSharedOptions(CLI::App& command, Options& options);

/// Makes --detector and --run obligatory for a verb.
void RequireRun(CLI::App& command);

/// What holds for the whole process: --database and --verbose. Call before the first RunHistory.
void ApplyToProcess(const Options& options);

/// Hands the masks, the retries and --verbose on to a run record. A later change of its run or detector drops
/// the custom mask again.
void ApplyTo(brio::dbi::RunHistory& history, const Options& options);

}  // namespace brio::tools
