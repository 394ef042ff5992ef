#pragma once

#include <cstdlib>
#include <string>

namespace brio::test {

/// Whether the caller wants the quick form of tests that repeat something many times (BRIO_TESTS=quick): for
/// a second run with another compiler's build, after one in which everything was tried.
inline bool IsQuick() {
  const char* setting = std::getenv("BRIO_TESTS");
  return setting != nullptr && std::string(setting) == "quick";
}

}  // namespace brio::test
