#include <memory>

#include "tools/shared/Console.h"
#include "tools/verbs/SnapshotActions.h"

namespace brio::tools {
namespace {

ExitStatus Misused(const std::string& what) {
  console::Say("runhistory: " + what + " (see runhistory snapshot --help)");
  return kWrongUsage;
}

ExitStatus Act(const Options& options, bool isRunGiven, const SnapshotRequest& request) {
  if (request.action == "save") {
    if (!request.against.empty()) { return Misused("snapshot save takes no --against"); }
    if (request.output.empty()) { return Misused("snapshot save needs --output FILE"); }
    if (options.detector.empty() == isRunGiven || (!isRunGiven && request.words.empty())) {
      return Misused("snapshot save needs runs: --detector and --run, or DETECTOR:N-M");
    }
    return SaveSnapshot(options, isRunGiven, request);
  }
  if (!request.output.empty() || request.append) {
    return Misused("snapshot " + request.action + " takes neither --output nor --append");
  }
  if (request.words.size() != 1) { return Misused("snapshot " + request.action + " needs one file"); }
  if (request.action == "verify") { return VerifySnapshot(options, request); }
  if (!request.against.empty()) { return Misused("snapshot info takes no --against"); }
  return TellSnapshot(options, request);
}

}  // namespace

Action PrepareSnapshot(CLI::App& command, const Options& options) {
  const auto request = std::make_shared<SnapshotRequest>();
  command.add_option("ACTION", request->action, "What to do: save, info, verify")
      ->required()
      ->check(CLI::IsMember({"save", "info", "verify"}));
  command.add_option("WHAT", request->words,
                     "info and verify: the file; save: more runs, such as Birch:13000-13020");
  command.add_option("-o,--output", request->output, "save: the file to write")->type_name("FILE");
  command.add_flag("--append", request->append, "save: keep the runs of the file that is there");
  command
      .add_option(
          "--against", request->against,
          "verify: also tell what has changed in these databases since (in the form of BRIO_DATABASE)")
      ->type_name("STRING");
  auto* run = command.get_option("--run");
  run->type_name("N|N-M|N-");
  return [request, run, &options] { return Act(options, run->count() > 0, *request); };
}

}  // namespace brio::tools
