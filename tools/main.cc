#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/shared/Console.h"
#include "tools/shared/StandardStreams.h"
#include "tools/verbs/Verb.h"

namespace {

using namespace brio::tools;

constexpr Verb kVerbs[] = {
    {"show", "One screen on a run, or on each run of a range", PrepareShow},
    {"channel", "Where channels are, what is installed there and how it was set", PrepareChannel},
    {"map", "Draw a quantity over the whole detector", PrepareMap},
    {"mask", "The good-diblock mask, the analysis mask and what the rule does", PrepareMask},
    {"dq", "The data-quality records of the subruns", PrepareDQ},
    {"pot", "The protons on target", PreparePOT},
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
    "`runhistory VERB --help` shows a verb's options.";

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
        [&action, prepared = verb.prepare(*subcommand, options), redirect = !verb.libraryAnswers] {
          if (redirect) { console::Take(); }
          action = prepared;
        });
  }

  try {
    command.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return command.exit(error) == 0 ? Written(kAnswered) : kWrongUsage;
  }

  ApplyToProcess(options);
  return Written(action());
}

}  // namespace

int main(int argc, char** argv) {
  OccupyStandardStreams();
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::cout.flush();
    std::string reason = error.what();
    reason.erase(reason.find_last_not_of(" \n") + 1);
    console::Say("runhistory: " + reason);
  }
  return kUnavailable;
}
