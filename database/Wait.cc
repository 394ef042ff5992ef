#include "database/Wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace brio::dbi {

bool WaitForSocket(int socket, WaitFor what, std::chrono::milliseconds limit) {
  using Clock = std::chrono::steady_clock;
  const bool forEver = limit == std::chrono::milliseconds::max();
  const auto end = forEver ? Clock::time_point::max() : Clock::now() + limit;
  pollfd request{};
  request.fd = socket;
  if (what != WaitFor::Write) { request.events |= POLLIN; }
  if (what != WaitFor::Read) { request.events |= POLLOUT; }
  for (;;) {
    int wait = -1;
    if (!forEver) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
      wait = static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
    }
    const int ready = poll(&request, 1, wait);
    if (ready > 0) { return true; }
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
