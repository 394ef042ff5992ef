#include "RunHistory/ProgressOutput.h"

#include <atomic>
#include <iostream>

namespace brio::dbi {
namespace {

std::atomic<std::ostream*> output{&std::cout};

}  // namespace

void SetProgressOutput(std::ostream* stream) { output = stream; }

std::ostream* GetProgressOutput() { return output; }

}  // namespace brio::dbi
