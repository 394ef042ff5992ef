#include "tools/shared/RemovedOnSignal.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <csignal>

namespace brio::tools {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

// What a handler may use: neither freed nor moved while it looks.
std::array<char, PATH_MAX> path;
std::atomic<bool> isThere{false};
std::array<void (*)(int), kSignals.size()> before;

void RemoveAndEnd(int number) {
  if (isThere) { unlink(path.data()); }
  std::signal(number, SIG_DFL);
  std::raise(number);
}

}  // namespace

SignalsWait::SignalsWait() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : kSignals) {
    sigaddset(&signals, number);
  }
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SignalsWait::~SignalsWait() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

RemovedOnSignal::RemovedOnSignal(const std::string& removed) {
  if (removed.size() >= path.size()) { return; }
  *std::copy(removed.begin(), removed.end(), path.begin()) = '\0';
  isThere = true;
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    before[i] = std::signal(kSignals[i], RemoveAndEnd);
    // Whoever started the process with a signal ignored (nohup) wants it so.
    if (before[i] == SIG_IGN) { std::signal(kSignals[i], SIG_IGN); }
  }
}

RemovedOnSignal::~RemovedOnSignal() {
  for (std::size_t i = 0; isThere && i < kSignals.size(); ++i) {
    std::signal(kSignals[i], before[i]);
  }
  isThere = false;
}

}  // namespace brio::tools
