#include "tools/Options.h"

#include <cstdlib>

#include "RunHistory/DetInfo.h"
#include "framework/MessageLogger.h"

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

}  // namespace

void AddSharedOptions(CLI::App& command, Options& options) {
  command.add_option("-d,--detector", options.detector, "The detector: " + DetectorNames())
      ->type_name("NAME")
      ->check(CheckDetector);
  command.add_option("-r,--run", options.run, "The run; numbers outside 10000 to 999999 are simulated runs")
      ->type_name("N");
  command.add_flag("--json", options.json, "Answer in JSON, where the verb has a JSON form");
  command.add_flag("-v,--verbose", options.verbose, "Also say what is done and how long it takes");
  command.add_flag("--no-color", options.noColor, "No colours, also on a terminal");
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

void RequireRun(CLI::App& command) {
  command.get_option("--detector")->required();
  command.get_option("--run")->required();
}

void ApplyToProcess(const Options& options) {
  if (!options.database.empty()) { setenv("BRIO_DATABASE", options.database.c_str(), 1); }
  if (options.verbose) { messagelogger::SetLevels("info"); }
}

void ApplyTo(brio::dbi::RunHistory& history, const Options& options) {
  history.SetTimeQueries(options.verbose);
  history.SetTimeParsing(options.verbose);
  history.SetUseGoodDiBlockMask(options.useMask || options.customMask || options.analysisMask);
  history.SetApplyAnalysisMask(options.analysisMask);
  history.SetUseCustomMask(options.customMask.has_value());
  if (options.customMask) { history.SetCustomDiBlockMask(*options.customMask); }
  history.SetMaxLoadRetries(options.retries);
}

}  // namespace brio::tools
