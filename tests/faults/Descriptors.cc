#include "tests/faults/Descriptors.h"

#include <chrono>
#include <filesystem>
#include <thread>

namespace brio::test {

std::ptrdiff_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

bool FallsToDescriptors(std::ptrdiff_t number) {
  for (int i = 0; i < 3000 && OpenDescriptors() > number; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return OpenDescriptors() <= number;
}

}  // namespace brio::test
