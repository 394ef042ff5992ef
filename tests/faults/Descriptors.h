#pragma once

#include <cstddef>

namespace brio::test {

/// How many descriptors this process has open.
std::ptrdiff_t OpenDescriptors();
/// Waits until there are no more than that; false when some stay. (A proxy in this process closes its own a
/// moment after the load.)
bool FallsToDescriptors(std::ptrdiff_t number);

}  // namespace brio::test
