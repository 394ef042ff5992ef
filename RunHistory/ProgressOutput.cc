#include "RunHistory/ProgressOutput.h"

#include <atomic>
#include <iostream>

namespace brio::dbi {
namespace {

// Made on the first use: std::cout is another file's variable and may be initialised after this one's.
std::atomic<std::ostream*>& Output() {
  static std::atomic<std::ostream*> output{&std::cout};
  return output;
}

}  // namespace

void SetProgressOutput(std::ostream* stream) { Output() = stream; }

std::ostream* GetProgressOutput() { return Output(); }

}  // namespace brio::dbi
