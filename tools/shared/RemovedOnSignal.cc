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
std::array<struct sigaction, kSignals.size()> before;

/// SA_RESETHAND has restored what the signal does by itself.
void RemoveAndEnd(int number) {
  if (isThere) { unlink(path.data()); }
  static_cast<void>(raise(number));
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
  struct sigaction action {};
  action.sa_handler = RemoveAndEnd;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals.at(i), nullptr, &before.at(i));
    // Whoever started the process with a signal ignored (nohup) wants it so.
    if (before.at(i).sa_handler != SIG_IGN) { sigaction(kSignals.at(i), &action, nullptr); }
  }
}

RemovedOnSignal::~RemovedOnSignal() {
  for (std::size_t i = 0; isThere && i < kSignals.size(); ++i) {
    sigaction(kSignals.at(i), &before.at(i), nullptr);
  }
  isThere = false;
}

}  // namespace brio::tools
