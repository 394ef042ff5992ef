#include "tools/shared/Progress.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "tools/shared/Console.h"

namespace brio::tools {

Progress::Progress(std::string what) : what_(std::move(what)) {
  if (console::IsTerminal(STDERR_FILENO)) {
    thread_ = std::thread([this] { Show(); });
  }
}

Progress::~Progress() {
  if (!thread_.joinable()) { return; }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasEnded_ = true;
  }
  ended_.notify_one();
  thread_.join();
  console::ShowProgress("");
}

void Progress::Show() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (int seconds = 1; !ended_.wait_for(lock, std::chrono::seconds(1), [this] { return hasEnded_; });
       ++seconds) {
    console::ShowProgress("runhistory: " + what_ + " … " + std::to_string(seconds) + " s");
  }
}

}  // namespace brio::tools
