#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace brio::tools {

/// Tells, on a terminal, what takes so long: while the object lives and more than a second has passed,
/// standard error shows what is being done and for how long. Shows nothing elsewhere.
class Progress {
public:
  explicit Progress(std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

private:
  void Show();

  std::string what_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;
  std::thread thread_;
};

}  // namespace brio::tools
