#pragma once

#include <csignal>
#include <string>

namespace brio::tools {

/// While it lives, signals that end the process (Ctrl-C, a hang-up, a termination) wait.
class SignalsWait {
public:
  SignalsWait();
  ~SignalsWait();
  SignalsWait(const SignalsWait&) = delete;
  SignalsWait& operator=(const SignalsWait&) = delete;

private:
  sigset_t before_{};
};

/// While it lives, a signal that ends the process (Ctrl-C, a hang-up, a termination) removes a file first.
/// One at a time.
class RemovedOnSignal {
public:
  explicit RemovedOnSignal(const std::string& removed);
  ~RemovedOnSignal();
  RemovedOnSignal(const RemovedOnSignal&) = delete;
  RemovedOnSignal& operator=(const RemovedOnSignal&) = delete;
};

}  // namespace brio::tools
