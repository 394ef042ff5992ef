#pragma once

#include <functional>

#include <CLI/CLI.hpp>

#include "tools/shared/Options.h"

namespace brio::tools {

/// What the command tells the shell.
enum ExitStatus {
  kAnswered = 0,
  /// The run or its data could not be had; standard error says why.
  kUnavailable = 1,
  kWrongUsage = 2
};

/// What runs once the command line has been read.
using Action = std::function<ExitStatus()>;

/// One verb of the command.
struct Verb {
  const char* name = "";
  const char* summary = "";
  /// Adds what the verb needs to its part of the command line, which has the shared options already, and
  /// gives its action. The options are filled in when the action runs, and outlive it.
  Action (*prepare)(CLI::App& command, const Options& options) = nullptr;
  /// What the library prints is the answer, unless that is JSON, and stays on the streams that it is printed
  /// on.
  bool libraryAnswers = false;
};

/// `runhistory dump`: the readable dump of a run, as RunHistory::Dump prints it.
Action PrepareDump(CLI::App& command, const Options& options);
/// `runhistory list`: which runs there are, one a line.
Action PrepareList(CLI::App& command, const Options& options);
/// `runhistory show`: one screen on a run.
Action PrepareShow(CLI::App& command, const Options& options);
/// `runhistory channel CHANNEL…`: where channels are, what is installed there and how it was set.
Action PrepareChannel(CLI::App& command, const Options& options);
/// `runhistory map QUANTITY`: a quantity over the whole detector, as text, picture or table.
Action PrepareMap(CLI::App& command, const Options& options);
/// `runhistory report`: one page on a run, or a page for each run of a range and an index.
Action PrepareReport(CLI::App& command, const Options& options);
/// `runhistory export boards|channels`: everything that is known of each, as CSV, JSON or an SQLite database.
Action PrepareExport(CLI::App& command, const Options& options);
/// `runhistory history QUANTITY`: a quantity of a channel, a board, a DCM or the detector over runs.
Action PrepareHistory(CLI::App& command, const Options& options);
/// `runhistory exposure`: what protons on target, live times and good diblocks of runs add up to.
Action PrepareExposure(CLI::App& command, const Options& options);
/// `runhistory diff RUN_A RUN_B`: what changed between two runs.
Action PrepareDiff(CLI::App& command, const Options& options);
/// `runhistory mask`: the good-diblock mask, the analysis mask and what the rule does.
Action PrepareMask(CLI::App& command, const Options& options);
/// `runhistory dq`: the data-quality records of the subruns.
Action PrepareDQ(CLI::App& command, const Options& options);
/// `runhistory pot`: the protons on target.
Action PreparePOT(CLI::App& command, const Options& options);
/// `runhistory check`: whether a detector's databases are there, and whether a run can be loaded from them.
Action PrepareCheck(CLI::App& command, const Options& options);
/// `runhistory schema`: the CREATE statements of the tables that a site needs.
Action PrepareSchema(CLI::App& command, const Options& options);
/// `runhistory snapshot save|info|verify`: runs in a file that answers as the databases do.
Action PrepareSnapshot(CLI::App& command, const Options& options);

}  // namespace brio::tools
