#include "database/Wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace brio::dbi {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks{50};

/// Of the process. A load that waits keeps the one that it began with.
struct Observer {
  std::mutex mutex;
  std::shared_ptr<const WaitObserver> current;
};

Observer& TheObserver() {
  static auto* const observer = new Observer;  // never deleted: threads may wait while the process exits
  return *observer;
}

std::shared_ptr<const WaitObserver> CurrentObserver() {
  Observer& observer = TheObserver();
  const std::lock_guard<std::mutex> lock(observer.mutex);
  return observer.current;
}

}  // namespace

void SetWaitObserver(WaitObserver observer) {
  auto made = observer ? std::make_shared<const WaitObserver>(std::move(observer)) : nullptr;
  Observer& current = TheObserver();
  const std::lock_guard<std::mutex> lock(current.mutex);
  current.current.swap(made);
}

void Pause(std::chrono::duration<double> time) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
  const auto observer = CurrentObserver();
  if (!observer) {
    std::this_thread::sleep_until(end);
    return;
  }
  for (auto now = Clock::now(); now < end; now = Clock::now()) {
    (*observer)();
    std::this_thread::sleep_until(std::min<Clock::time_point>(end, now + kBetweenLooks));
  }
}

bool WaitForSocket(int socket, WaitFor what, std::chrono::milliseconds limit) {
  using Clock = std::chrono::steady_clock;
  const bool forEver = limit == std::chrono::milliseconds::max();
  const auto end = forEver ? Clock::time_point::max() : Clock::now() + limit;
  pollfd request{};
  request.fd = socket;
  if (what != WaitFor::Write) { request.events |= POLLIN; }
  if (what != WaitFor::Read) { request.events |= POLLOUT; }
  const auto observer = CurrentObserver();
  for (;;) {
    if (observer) { (*observer)(); }
    int wait = -1;
    if (!forEver) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
      wait = static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
    }
    const bool isLook = observer != nullptr && (wait < 0 || wait > kBetweenLooks.count());
    if (isLook) { wait = static_cast<int>(kBetweenLooks.count()); }
    const int ready = poll(&request, 1, wait);
    if (ready > 0) { return true; }
    if (ready == 0 && isLook) { continue; }
    if (ready == 0) { return false; }
    if (errno != EINTR) { return true; }  // the next use of the socket reports what is wrong
  }
}

std::chrono::milliseconds RemainingOf(std::chrono::seconds limit,
                                      std::chrono::steady_clock::time_point since) {
  if (limit == std::chrono::seconds::max()) { return std::chrono::milliseconds::max(); }
  const auto used = std::chrono::steady_clock::now() - since;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - used);
  return std::max(left, std::chrono::milliseconds(0));
}

std::chrono::milliseconds RemainingUntil(std::chrono::steady_clock::time_point deadline,
                                         std::chrono::steady_clock::time_point now) {
  if (deadline == std::chrono::steady_clock::time_point::max()) { return std::chrono::milliseconds::max(); }
  return std::max(std::chrono::ceil<std::chrono::milliseconds>(deadline - now), std::chrono::milliseconds(0));
}

}  // namespace brio::dbi
