#include "tools/shared/Progress.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/shared/Console.h"

namespace brio::tools {
namespace {

bool isOneShown = false;

std::string Seconds(std::chrono::steady_clock::duration time) {
  return std::to_string(std::lround(std::chrono::duration<double>(time).count())) + " s";
}

}  // namespace

Progress::Progress(std::string what) : what_(std::move(what)) {
  if (isOneShown || !console::CanShowProgress()) { return; }
  isOneShown = true;
  thread_ = std::thread([this] { Show(); });
}

Progress::~Progress() {
  if (!thread_.joinable()) { return; }
  isOneShown = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasEnded_ = true;
  }
  ended_.notify_one();
  thread_.join();
  console::ShowProgress("");
}

void Progress::Next(std::string what, std::size_t pieces) {
  const std::lock_guard<std::mutex> lock(mutex_);
  what_ = std::move(what);
  if (pieces_ != 0) { ++done_; }
  pieces_ = pieces;
  lastPiece_ = Clock::now();
}

void Progress::Aside(const std::function<void()>& write) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (thread_.joinable()) { console::ShowProgress(""); }
  write();
}

std::string Progress::Line() const {
  std::string line = "runhistory: " + what_;
  if (pieces_ > 1) { line += ", " + std::to_string(done_ + 1) + " of " + std::to_string(pieces_); }
  line += " … " + Seconds(Clock::now() - start_);
  if (done_ == 0) { return line; }
  const auto each = (lastPiece_ - start_) / static_cast<long>(done_);
  // What the piece at hand took so far is a part of its time.
  const auto left = each * static_cast<long>(pieces_ - done_) - (Clock::now() - lastPiece_);
  return line + ", about " + Seconds(std::max(left, Clock::duration::zero())) + " left";
}

void Progress::Show() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!ended_.wait_for(lock, std::chrono::seconds(1), [this] { return hasEnded_; })) {
    console::ShowProgress(Line());
  }
}

}  // namespace brio::tools
