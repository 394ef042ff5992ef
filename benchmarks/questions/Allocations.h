#pragma once

#include <cstddef>

namespace brio::benchmarks {

/// How often this process has allocated memory with operator new so far.
std::size_t AllocationCount();

}  // namespace brio::benchmarks
