#pragma once

#include <exception>
#include <tuple>
#include <utility>

#include "RunHistory/Members.h"
#include "database/LoadScope.h"

namespace brio::dbi {

/// How many loads of this process began afresh.
long FreshTries();

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
  explicit Switched(bool& on) : on_(on) { on_ = true; }
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
  if (!LoadScope::IsOutermost()) { return load(); }
  auto before = freshtry::CopyOf(LoadedMembers());
  try {
    const freshtry::Switched first(mayBeginAfresh);
    auto result = load();
    if (!LoadScope::WasInterrupted()) { return result; }
  } catch (const std::exception&) {
    if (!LoadScope::WasInterrupted()) { throw; }
  }
  LoadScope::LeaveConnections();
  LoadedMembers() = std::move(before);
  boardIndex.Clear();
  freshtry::Announce(runNumber, detectorName);
  return load();
}

/// Whether what the load reads is of no more use, because it will be read again.
inline bool RunHistory::WillBeginAfresh() const { return mayBeginAfresh && LoadScope::WasInterrupted(); }

}  // namespace brio::dbi
