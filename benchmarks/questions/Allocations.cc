#include "benchmarks/questions/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> count{0};
}  // namespace

namespace brio::benchmarks {
std::size_t AllocationCount() { return count; }
}  // namespace brio::benchmarks

// These take the place of the process's own, in its shared libraries too.
void* operator new(std::size_t size) {
  ++count;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) { return memory; }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
