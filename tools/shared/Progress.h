#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace brio::tools {

/// Tells, on a terminal, what takes so long: while the object lives and more than a second has passed,
/// standard error shows what is being done and for how long, in a line that is taken away again. Shows
/// nothing elsewhere (console::CanShowProgress). Of several objects the first shows, all on one thread.
class Progress {
public:
  explicit Progress(std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// For something done piece by piece: from now on the next of so many pieces is being done. How long is
  /// left is told by how long the pieces before took.
  void Next(std::string what, std::size_t pieces);
  /// Runs something that writes to a terminal, where the line is not in its way.
  void Aside(const std::function<void()>& write);

private:
  using Clock = std::chrono::steady_clock;

  void Show();
  std::string Line() const;

  std::string what_;
  std::size_t done_ = 0;  ///< pieces
  std::size_t pieces_ = 0;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastPiece_ = start_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;
  std::thread thread_;
};

}  // namespace brio::tools
