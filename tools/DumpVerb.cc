#include <iostream>

#include "framework/MessageLogger.h"
#include "tools/Verb.h"

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
  const char* missing = nullptr;
  {
    const Silence silence;
    history.SetMaxLoadRetries(0);
    if (!history.LoadDAQRunHistory()) {
      missing = "there is no such run";
    } else if (!history.LoadHardwareInfo()) {
      missing = "its hardware could not be read";
    }
  }
  if (missing == nullptr) { return kAnswered; }
  std::cout.flush();
  std::cerr << "runhistory: run " << history.GetRunNumber() << " of " << history.GetDetectorName() << ": "
            << missing << '\n';
  return kUnavailable;
}

ExitStatus Dump(const Options& options) {
  brio::dbi::RunHistory history(options.run, options.detector);
  ApplyTo(history, options);
  history.Dump();
  return StatusAfterDump(history);
}

}  // namespace

Action PrepareDump(CLI::App& command, const Options& options) {
  RequireRun(command);
  return [&options] { return Dump(options); };
}

}  // namespace brio::tools
