#include "tools/shared/Options.h"

#include <unistd.h>

#include <cstdlib>

#include "RunHistory/DetInfo.h"
#include "framework/MessageLogger.h"
#include "tools/shared/Console.h"
#include "tools/shared/SentStatements.h"

namespace brio::tools {
namespace {

using briodaq::cnv::DetInfo;

std::string DetectorNames() {
  constexpr int kLastDetector = briodaq::cnv::Fenwick;
  std::string names;
  for (int id = 1; id <= kLastDetector; ++id) {
    if (DetInfo::DetIdOk(id)) { names += (names.empty() ? "" : ", ") + DetInfo::GetName(id); }
  }
  return names;
}

// A run record ends the process when it is given a name that is no detector's: so it is looked at first.
std::string CheckDetector(const std::string& name) {
  if (DetInfo::DetNameOk(name)) { return {}; }
  return "there is no detector \"" + name + "\"; the detectors are " + DetectorNames();
}

std::string CheckRuns(const std::string& text) {
  if (ParseRunRange(text)) { return {}; }
  return "\"" + text + "\" is no run and no range of runs";
}

}  // namespace

void AddSharedOptions(CLI::App& command, Options& options) {
  command.add_option("-d,--detector", options.detector, "The detector: " + DetectorNames())
      ->type_name("NAME")
      ->check(CheckDetector);
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
      ->type_name("BITS");
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

void RequireDetector(CLI::App& command) { command.get_option("--detector")->required(); }

void RequireRun(CLI::App& command) {
  RequireDetector(command);
  command.get_option("--run")->required()->check(CheckSingleRun);
}

void RequireRuns(CLI::App& command) {
  RequireDetector(command);
  command.get_option("--run")->required();
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
