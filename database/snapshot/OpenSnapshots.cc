#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>

#include "database/snapshot/SharedSnapshot.h"

namespace brio::dbi::snapshot {
namespace {

constexpr std::size_t kMostUnused = 2;

/// A process's own. A process that was forked off leaves its parent's as it was at that moment, perhaps
/// locked, and begins another.
struct OpenSnapshots {
  pid_t owner = getpid();
  OpenSnapshots* parents = nullptr;
  std::mutex mutex;
  std::list<std::shared_ptr<SharedSnapshot>> files;  ///< the one opened last first
};

OpenSnapshots& OfThisProcess() {
  static std::atomic<OpenSnapshots*> current{nullptr};
  OpenSnapshots* found = current.load();
  while (found == nullptr || found->owner != getpid()) {
    auto mine = std::make_unique<OpenSnapshots>();
    mine->parents = found;
    if (current.compare_exchange_strong(found, mine.get())) { return *mine.release(); }
  }
  return *found;
}

/// Forgets the files that were used before the last few and that nobody uses.
void ForgetOldFiles(std::list<std::shared_ptr<SharedSnapshot>>& files) {
  std::size_t unused = 0;
  files.remove_if([&](const auto& file) { return file.use_count() == 1 && ++unused > kMostUnused; });
}

}  // namespace

std::shared_ptr<SharedSnapshot> SharedSnapshot::Open(const std::string& path) {
  auto& open = OfThisProcess();
  const std::lock_guard<std::mutex> lock(open.mutex);
  for (;;) {
    const auto identity = FileIdentity::Of(path);
    auto found = std::find_if(open.files.begin(), open.files.end(), [&](const auto& file) {
      return file->path_ == path && file->identity_ == identity;
    });
    if (found == open.files.end()) {
      open.files.push_front(std::make_shared<SharedSnapshot>(path, identity));
      found = open.files.begin();
    }
    open.files.splice(open.files.begin(), open.files, found);
    auto file = open.files.front();
    ForgetOldFiles(open.files);
    if (file->BeginUse()) { return file; }
    open.files.remove(file);
  }
}

}  // namespace brio::dbi::snapshot
