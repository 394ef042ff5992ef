#include "RunHistory/Pause.h"

#include <unistd.h>

#include <utility>

namespace brio::dbi {
namespace {

std::function<void(unsigned int)> replacement;

}  // namespace

void PauseSeconds(unsigned int seconds) {
  if (replacement) {
    replacement(seconds);
    return;
  }
  while (seconds > 0) {
    seconds = sleep(seconds);  // a signal ends it early
  }
}

void SetPause(std::function<void(unsigned int)> pause) { replacement = std::move(pause); }

}  // namespace brio::dbi
