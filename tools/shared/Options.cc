#include "tools/shared/Options.h"

#include <unistd.h>

#include <cstdlib>

#include "RunHistory/DetInfo.h"
#include "framework/MessageLogger.h"
#include "tools/shared/Console.h"
#include "tools/shared/SentStatements.h"
#include "tools/shared/TerminalText.h"

namespace brio::tools {
namespace {

using briodaq::cnv::DetInfo;

constexpr int kLastDetector = briodaq::cnv::Fenwick;

std::string DetectorNames() {
  std::string names;
  for (int id = 1; id <= kLastDetector; ++id) {
    if (DetInfo::DetIdOk(id)) { names += (names.empty() ? "" : ", ") + DetInfo::GetName(id); }
  }
  return names;
}

std::string InLowerCase(std::string text) {
  for (auto& character : text) {
    if (character >= 'A' && character <= 'Z') { character = static_cast<char>(character - 'A' + 'a'); }
  }
  return text;
}

/// A detector's name as the library has it. A run record ends the process when it is given a name that is no
/// detector's.
std::string DetectorNamed(const std::string& name) {
  for (int id = 1; id <= kLastDetector; ++id) {
    if (DetInfo::DetIdOk(id) && InLowerCase(DetInfo::GetName(id)) == InLowerCase(name)) {
      return DetInfo::GetName(id);
    }
  }
  throw CLI::ValidationError(
      "--detector", "there is no detector \"" + Visible(name) + "\"; the detectors are " + DetectorNames());
}

std::string CheckMask(const std::string& text) {
  constexpr int kAllDiBlocks = 0x3FFF;
  int mask = 0;
  if (!CLI::detail::lexical_cast(text, mask)) { return "\"" + Visible(text) + "\" is no number"; }
  return mask >= 0 && mask <= kAllDiBlocks ? "" : text + " has bits beyond those of the 14 diblocks";
}

std::string CheckRuns(const std::string& text) {
  if (ParseRunRange(text)) { return {}; }
  return "\"" + Visible(text) + "\" is no run and no range of runs";
}

/// The run may come from an argument (TakeRunAsArgument), which the parser's own check does not know.
void RequireRunOption(CLI::App& command) {
  command.parse_complete_callback([run = command.get_option("--run")] {
    if (run->count() == 0) { throw CLI::RequiredError("--run"); }
  });
}

}  // namespace

void AddSharedOptions(CLI::App& command, Options& options) {
  command
      .add_option("-d,--detector", options.detector, "The detector, in capitals or not: " + DetectorNames())
      ->type_name("NAME")
      ->transform(DetectorNamed);
  const auto takeRuns = [&options](const std::string& text) {
    options.runs = *ParseRunRange(text);
    options.run = options.runs.first;
  };
  command
      .add_option_function<std::string>("-r,--run", takeRuns,
                                        "The run; numbers outside 10000 to 999999 are simulated runs")
      ->type_name("N")
      ->check(CheckRuns);
  command.add_flag("--json", options.json, "Answer in JSON, where the verb has a JSON form");
  command.add_flag("-v,--verbose", options.verbose, "Also say what is done and how long it takes");
  command
      .add_flag("-q,--quiet", options.quiet, "Nothing but the answer and what stops it, as with BRIO_LOG=off")
      ->excludes("--verbose");
  auto* color = command.add_option("--color", options.color, "When to use colours; auto: on a terminal")
                    ->type_name("WHEN")
                    ->check(CLI::IsMember({"auto", "always", "never"}));
  command
      .add_flag_callback(
          "--no-color", [&options] { options.color = "never"; }, "The same as --color=never")
      ->excludes(color);
  command.add_flag("--use-mask", options.useMask,
                   "Leave out the diblocks that the good-diblock mask calls bad");
  command
      .add_option(
          "--custom-mask", options.customMask,
          "Use this mask (bit 0 is diblock 1; 0x for hexadecimal) in place of the far detector's stored "
          "one; implies --use-mask")
      ->type_name("BITS")
      ->check(CheckMask);
  command.add_flag("--analysis-mask", options.analysisMask,
                   "Also apply the analysis rule to the mask; implies --use-mask");
  command
      .add_option("--retries", options.retries,
                  "How often to try again what failed for a reason that can pass")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command
      .add_option("--database", options.database,
                  "Where the databases are, in the form of BRIO_DATABASE, which it overrides")
      ->type_name("STRING");
}

std::string CheckSingleRun(const std::string& text) {
  const auto range = ParseRunRange(text);
  if (!range || !range->isRange) { return {}; }
  return "\"" + text + "\" is a range; this verb answers for one run";
}

void TakeRunAsArgument(CLI::App& command) {
  auto* run = command.get_option("--run");
  command
      .add_option_function<std::string>(
          "run",
          [run](const std::string& text) {
            if (run->count() > 0) { throw CLI::ValidationError("the run is given twice"); }
            run->add_result(text);
            run->run_callback();
          },
          "The run, in place of --run")
      ->type_name("RUN");
}

void RequireDetector(CLI::App& command) { command.get_option("--detector")->required(); }

void RequireRun(CLI::App& command) {
  RequireDetector(command);
  command.get_option("--run")->check(CheckSingleRun);
  RequireRunOption(command);
}

void RequireRuns(CLI::App& command) {
  RequireDetector(command);
  RequireRunOption(command);
  AllowRanges(command);
}

void AllowRanges(CLI::App& command) {
  auto* run = command.get_option("--run");
  run->type_name("N|N-M|N-");
  run->description(run->get_description() + "; N-M for a range, both ends included; N- for all from N on");
}

void RefuseMasks(CLI::App& command, const std::string& why) {
  for (const auto* name : {"--use-mask", "--custom-mask", "--analysis-mask"}) {
    command.get_option(name)->check([why](const std::string&) { return why; });
  }
}

bool UsesColor(const Options& options) {
  if (options.color != "auto") { return options.color == "always"; }
  if (!console::IsTerminal(STDOUT_FILENO) || console::IsDumb()) { return false; }
  const char* variable = std::getenv("NO_COLOR");
  return variable == nullptr || *variable == '\0';
}

void ApplyToProcess(const Options& options) {
  if (!options.database.empty()) { setenv("BRIO_DATABASE", options.database.c_str(), 1); }
  if (options.verbose) {
    messagelogger::SetLevels("info");
    TellOfStatements();
  }
  const auto isShown = [](Severity severity) { return messagelogger::IsEnabled(severity, "BrioDatabase"); };
  if (options.quiet || !isShown(Severity::Error)) {
    console::SetLoudness(console::Loudness::Quiet);
    messagelogger::SetLevels("error");  // of which come the reasons
  } else if (isShown(Severity::Info)) {
    console::SetLoudness(console::Loudness::Full);
  }
}

void ApplyTo(brio::dbi::RunHistory& history, const Options& options) {
  history.SetTimeParsing(options.verbose);
  history.SetUseGoodDiBlockMask(options.useMask || options.customMask || options.analysisMask);
  history.SetApplyAnalysisMask(options.analysisMask);
  history.SetUseCustomMask(options.customMask.has_value());
  if (options.customMask) { history.SetCustomDiBlockMask(*options.customMask); }
  history.SetMaxLoadRetries(options.retries);
}

}  // namespace brio::tools
