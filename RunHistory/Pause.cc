#include "RunHistory/Pause.h"

#include <unistd.h>

#include <chrono>
#include <random>
#include <thread>
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

void PauseBriefly() {
  thread_local std::minstd_rand generator{std::random_device{}()};
  std::uniform_real_distribution<double> seconds(0.1, 0.3);
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds(generator)));
}

void SetPause(std::function<void(unsigned int)> pause) { replacement = std::move(pause); }

}  // namespace brio::dbi
