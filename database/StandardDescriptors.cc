#include "database/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <mutex>

namespace brio::dbi {
namespace {

/// One for all threads: a placeholder must stay until the last of them is through.
struct Placeholders {
  std::mutex mutex;
  int users = 0;
  std::array<bool, STDERR_FILENO + 1> isOurs{};
};

Placeholders& TheOnes() {
  static Placeholders placeholders;
  return placeholders;
}

bool IsPlaceholder(int descriptor) {
  const int flags = fcntl(descriptor, F_GETFL);
  return flags != -1 && (flags & O_PATH) != 0;
}

}  // namespace

StandardDescriptorsTaken::StandardDescriptorsTaken() {
  auto& ones = TheOnes();
  const std::lock_guard<std::mutex> lock(ones.mutex);
  ++ones.users;
  for (;;) {
    const int descriptor = open("/", O_PATH | O_CLOEXEC);
    if (descriptor < 0) { return; }
    if (descriptor > STDERR_FILENO) {
      close(descriptor);
      return;
    }
    ones.isOurs.at(static_cast<std::size_t>(descriptor)) = true;
  }
}

StandardDescriptorsTaken::~StandardDescriptorsTaken() {
  auto& ones = TheOnes();
  const std::lock_guard<std::mutex> lock(ones.mutex);
  if (--ones.users > 0) { return; }
  for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor) {
    bool& isOurs = ones.isOurs.at(static_cast<std::size_t>(descriptor));
    // The process may have put a file of its own there meanwhile.
    if (isOurs && IsPlaceholder(descriptor)) { close(descriptor); }
    isOurs = false;
  }
}

}  // namespace brio::dbi
