#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "RunHistory/RunHistory.h"
#include "tools/shared/RunRange.h"

namespace brio::tools {

/// The options that every verb takes, spelled the same; a verb that has no use for one accepts it.
struct Options {
  std::string detector;
  /// The run, the first of a range.
  int run = 0;
  RunRange runs;
  bool json = false;
  bool verbose = false;
  bool quiet = false;
  std::string color = "auto";  ///< or "always", "never"
  bool useMask = false;
  std::optional<int> customMask;
  bool analysisMask = false;
  int retries = 0;
  std::string database;
};

/// Adds the shared options to a verb's command line.
void AddSharedOptions(CLI::App& command, Options& options);

/// Lets a verb take the run without "--run" too, behind the arguments that it has already.
void TakeRunAsArgument(CLI::App& command);

/// Makes --detector obligatory for a verb.
void RequireDetector(CLI::App& command);

/// Makes --detector and --run obligatory for a verb that answers for one run.
void RequireRun(CLI::App& command);

/// The same for a verb that also answers for a range of runs.
void RequireRuns(CLI::App& command);

/// Lets --run, which may be left out, be a range of runs.
void AllowRanges(CLI::App& command);

/// Refuses the options of masks for a verb to whose answer they would make no difference, with the reason.
void RefuseMasks(CLI::App& command, const std::string& why);

/// A check of --run that refuses a range.
std::string CheckSingleRun(const std::string& text);

/// Whether the answer is coloured: as --color says, which is on a terminal that takes colours unless NO_COLOR
/// is set.
bool UsesColor(const Options& options);

/// What holds for the whole process: --database, --verbose and --quiet. Call before the first RunHistory.
void ApplyToProcess(const Options& options);

/// Hands the masks, the retries and --verbose on to a run record. A later change of its run or detector drops
/// the custom mask again.
void ApplyTo(brio::dbi::RunHistory& history, const Options& options);

}  // namespace brio::tools
