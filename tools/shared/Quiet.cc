#include "tools/shared/Quiet.h"

#include <iostream>
#include <utility>

#include "RunHistory/ProgressOutput.h"
#include "framework/MessageLogger.h"

namespace brio::tools {

Quiet::Quiet(bool isVerbose) : isQuiet_(!isVerbose) {
  if (!isQuiet_) { return; }
  dbi::SetProgressOutput(nullptr);
  before_ = std::cerr.rdbuf(nullptr);
  messagelogger::SetSink([this](Severity severity, const std::string& category, const std::string& text) {
    if (severity == Severity::Error && category == "BrioDatabase" && complaint_.empty()) {
      complaint_ = text;
    }
  });
}

Quiet::~Quiet() {
  if (!isQuiet_) { return; }
  messagelogger::SetSink({});
  std::cerr.rdbuf(before_);
  dbi::SetProgressOutput(&std::cout);
}

std::string Quiet::TakeComplaint() { return std::exchange(complaint_, {}); }

}  // namespace brio::tools
