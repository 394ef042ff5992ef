#include "database/StepObserver.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace brio::dbi {
namespace {

std::atomic<bool> observed{false};
std::mutex mutex;
StepObserver current;

}  // namespace

void SetStepObserver(StepObserver observer) {
  const std::lock_guard<std::mutex> lock(mutex);
  current = std::move(observer);
  observed = static_cast<bool>(current);
}

void NotifyStep(DatabaseStep step, const std::string& text) {
  if (!observed) { return; }
  StepObserver observer;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    observer = current;
  }
  if (observer) { observer(step, text); }
}

}  // namespace brio::dbi
