#include <iostream>
#include <stdexcept>
#include <string>

#include "database/LoadScope.h"
#include "framework/MessageLogger.h"
#include "tools/shared/Console.h"
#include "tools/shared/Format.h"
#include "tools/shared/Loading.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {
namespace {

/// Keeps the library quiet, on the streams and in the message logger, while it lives.
class Silence {
public:
  Silence()
      : outputState_(std::cout.rdstate()),
        output_(std::cout.rdbuf(nullptr)),
        error_(std::cerr.rdbuf(nullptr)) {
    messagelogger::SetSink([](Severity, const std::string&, const std::string&) {});
  }
  ~Silence() {
    messagelogger::SetSink({});
    std::cout.rdbuf(output_);  // also forgets that an earlier write failed
    std::cout.setstate(outputState_);
    std::cerr.rdbuf(error_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

private:
  std::ios::iostate outputState_;
  std::streambuf* output_;
  std::streambuf* error_;
};

// Dump goes on when something could not be loaded, so what became of it is asked for afterwards. What was
// loaded answers from memory. What was not is tried once more, in silence, since the first try has said what
// was wrong.
ExitStatus StatusAfterDump(brio::dbi::RunHistory& history) {
  std::string missing;
  try {
    const Silence silence;
    history.SetMaxLoadRetries(0);
    if (!LoadRunRecord(history)) {
      missing = "there is no such run";
    } else if (!LoadHardware(history)) {
      missing = "its hardware could not be read";
    }
  } catch (const std::runtime_error& error) { missing = error.what(); }
  if (missing.empty()) { return kAnswered; }
  std::cout.flush();
  std::cerr << "runhistory: " << NameOf(history) << ": " << missing << '\n';
  return kUnavailable;
}

/// What a dump has, as JSON.
Json JsonOf(brio::dbi::RunHistory& history, const Options& options) {
  const std::string start = history.TStartAsString();
  const std::string stop = history.TStopAsString();
  Json object{{"detector", options.detector},
              {"run", options.run},
              {"subruns", history.NSubruns()},
              {"start", InZone(start)},
              {"stop", stop.empty() ? Json() : Json(InZone(stop))},
              {"triggers", history.NTriggers()},
              {"active_channels", history.NActiveChannels()},
              {"total_channels", history.NTotalChannels()},
              {"live_dcms", history.NLiveDCMs()},
              {"dcms", Json::array()},
              {"event_builders", Json::array()}};
  for (const auto& diblock : history.GetDiBlocks()) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { object["dcms"].push_back(dcm.appName); }
    }
  }
  for (const auto& builder : history.GetBNEVBs()) {
    object["event_builders"].push_back(builder.appName);
  }
  return object;
}

ExitStatus DumpAsJson(const Options& options) {
  brio::dbi::RunHistory history(options.run, options.detector);
  ApplyTo(history, options);
  const brio::dbi::LoadScope oneSnapshot;
  const LoadedParts parts = LoadParts(history, Depth::Hardware);
  if (parts.run.ok) { console::Answer() << JsonText(JsonOf(history, options)) << '\n'; }
  const Outcome& deepest = parts.UpTo(Depth::Hardware);
  if (deepest.ok) { return kAnswered; }
  SayUnavailable(history, deepest.reason);
  return kUnavailable;
}

ExitStatus Dump(const Options& options) {
  if (options.json) { return DumpAsJson(options); }
  brio::dbi::RunHistory history(options.run, options.detector);
  ApplyTo(history, options);
  try {
    history.Dump();
  } catch (const std::out_of_range&) {
    // A DCM name that cannot be cut ends the dump, and loading again tells in which table it is.
    const ExitStatus status = StatusAfterDump(history);
    if (status == kAnswered) { throw; }
    return status;
  }
  return StatusAfterDump(history);
}

}  // namespace

Action PrepareDump(CLI::App& command, const Options& options) {
  RequireRun(command);
  TakeRunAsArgument(command);
  return [&options] { return Dump(options); };
}

}  // namespace brio::tools
