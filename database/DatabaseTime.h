#pragma once

#include <chrono>
#include <string>

namespace brio::dbi {

/// Measures the time that one connect or statement takes of what its load may take in all, or, outside a
/// load, of what it may take itself. It runs from construction to destruction, but for pauses.
class DatabaseTime {
public:
  using Clock = std::chrono::steady_clock;

  enum class Of { Load, Statement };

  /// Of the thread's load, if there is one.
  explicit DatabaseTime(std::chrono::seconds limit);
  DatabaseTime(std::chrono::seconds limit, Of whose);
  ~DatabaseTime();
  DatabaseTime(const DatabaseTime&) = delete;
  DatabaseTime& operator=(const DatabaseTime&) = delete;

  /// While it is paused the time is somebody else's. Both are harmless, and quick, when nothing changes.
  void Pause();
  void Resume();
  /// How long it was paused so far.
  Clock::duration Paused() const { return paused_; }

  /// When the time will be used up if it is not paused; Clock::time_point::max() for never.
  Clock::time_point Deadline() const { return deadline_; }
  bool IsUsedUp() const { return Clock::now() >= deadline_; }
  /// "the load took longer than 600 s", or the statement.
  std::string Complaint() const;

private:
  std::chrono::seconds limit_;
  Of whose_;
  bool isPaused_ = false;
  Clock::duration paused_{0};
  Clock::time_point since_;
  Clock::time_point deadline_;
};

}  // namespace brio::dbi
