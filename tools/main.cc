#include <algorithm>
#include <exception>
#include <iostream>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "database/KeptConnections.h"
#include "tools/shared/CommandLine.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/StandardStreams.h"
#include "tools/verbs/Verb.h"

namespace {

using namespace brio::tools;

constexpr Verb kVerbs[] = {
    {"list", "Which runs there are, one a line", PrepareList},
    {"show", "One screen on a run, or on each run of a range", PrepareShow},
    {"channel", "Where channels are, what is installed there and how it was set", PrepareChannel},
    {"map", "Draw a quantity over the whole detector", PrepareMap},
    {"report", "One page on a run for a browser, or pages and an index of a range", PrepareReport},
    {"history", "A quantity over runs, with its changes", PrepareHistory},
    {"export", "Everything on each board or each channel, as CSV, JSON or SQLite", PrepareExport},
    {"mask", "The good-diblock mask, the analysis mask and what the rule does", PrepareMask},
    {"dq", "The data-quality records of the subruns", PrepareDQ},
    {"pot", "The protons on target", PreparePOT},
    {"exposure", "Protons on target, live time and good diblocks of runs, with their totals",
     PrepareExposure},
    {"diff", "What changed between two runs", PrepareDiff},
    {"check", "Whether a run can be loaded from a detector's databases", PrepareCheck},
    {"schema", "Print the CREATE statements of the tables that a site needs", PrepareSchema},
    {"snapshot", "Save runs into a file that answers like the databases, and look into one", PrepareSnapshot},
    {"dump", "Print the dump of a run", PrepareDump, true},
};

constexpr const char* kDescription =
    "Answers questions about data-taking runs from the experiment's databases.\n"
    "BRIO_DATABASE (or --database) says where those are.";
constexpr const char* kFooter =
    "Exit status: 0 answered; 1 the run or its data could not be had; 2 wrong usage.\n"
    "`runhistory help VERB` shows a verb's options.";

/// A status, unless what was to be answered could not be written, to a full disk say: then there is no
/// answer.
ExitStatus Written(ExitStatus status) {
  if (std::cout.flush() && console::Answer().flush()) { return status; }
  console::Say("runhistory: cannot write to standard output");
  return kUnavailable;
}

int Run(int argc, char** argv) {
  CLI::App command(kDescription, "runhistory");
  command.footer(kFooter);
  command.set_version_flag("--version", "runhistory " BRIO_VERSION);
  command.require_subcommand(1);

  Options options;
  Action action;
  for (const auto& verb : kVerbs) {
    auto* subcommand = command.add_subcommand(verb.name, verb.summary);
    AddSharedOptions(*subcommand, options);
    subcommand->final_callback(
        [&action, &options, prepared = verb.prepare(*subcommand, options), isOurs = !verb.libraryAnswers] {
          if (isOurs || options.json) {
            console::Take();
          } else {
            console::Guard();
          }
          action = prepared;
        });
  }

  try {
    auto words = Ordered(command, {argv + 1, argv + argc});
    std::reverse(words.begin(), words.end());  // as the parser takes them
    command.parse(std::move(words));
  } catch (const CLI::Success& asked) {
    command.exit(asked);
    return Written(kAnswered);
  } catch (const CLI::ParseError& error) {
    TellWrongUsage(error);
    return kWrongUsage;
  }

  ApplyToProcess(options);
  const brio::dbi::KeptConnections connections(options.retries);
  const ExitStatus status = action();
  console::Answer().flush();
  console::TellRest();
  return Written(status);
}

}  // namespace

int main(int argc, char** argv) {
  OccupyStandardStreams();
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cout.flush();
    console::Say("runhistory: " + OneLine(error.what()));
    console::TellRest();
  }
  return kUnavailable;
}
