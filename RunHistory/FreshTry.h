#pragma once

#include <exception>
#include <tuple>
#include <utility>

#include "RunHistory/Members.h"
#include "database/LoadScope.h"
#include "framework/Export.h"

namespace brio::dbi {

/// How many loads of this process began afresh.
BRIO_EXPORT_PRIVATE long FreshTries();

namespace freshtry {

/// Says that a run's load begins afresh, counts it, and waits a moment.
void Announce(int run, const std::string& detectorName);

template <class... Members>
std::tuple<Members...> CopyOf(const std::tuple<Members&...>& members) {
  return members;
}

/// Sets a switch while it lives.
class Switched {
public:
  explicit Switched(bool& on) : on_(on) { on = true; }
  ~Switched() { on_ = false; }
  Switched(const Switched&) = delete;
  Switched& operator=(const Switched&) = delete;

private:
  bool& on_;
};

}  // namespace freshtry

/// Runs a load inside the caller's load scope. When that is the thread's outermost and the load was
/// interrupted, however it ended, everything that it stored is undone, and it runs once more from the start:
/// on new connections, in new transactions. How that ends is how it ends.
template <class Load>
auto RunHistory::WithFreshTry(Load load) {
  return WithFreshTry(load, LoadedMembers());
}

/// The same for a load that stores no more than some members, so that only those are copied beforehand.
template <class Load, class Members>
auto RunHistory::WithFreshTry(Load load, Members stored) {
  if (!LoadScope::IsOutermost()) { return load(); }
  auto before = freshtry::CopyOf(stored);
  try {
    const freshtry::Switched first(mayBeginAfresh);
    auto result = load();
    if (!LoadScope::WasInterrupted()) { return result; }
  } catch (const std::exception&) {
    if (!LoadScope::WasInterrupted()) { throw; }
  }
  LoadScope::LeaveConnections();
  boardIndex.Clear();
  stored = std::move(before);
  freshtry::Announce(runNumber, detectorName);
  return load();
}

/// Whether what the load reads is of no more use, because it will be read again.
inline bool RunHistory::WillBeginAfresh() const { return mayBeginAfresh && LoadScope::WasInterrupted(); }

}  // namespace brio::dbi
