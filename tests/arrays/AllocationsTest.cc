#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "tests/arrays/SampleRuns.h"

namespace {

long allocations = 0;  // the tests have one thread

}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) { return memory; }
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace brio::test {
namespace {

TEST(ArraysAllocations, AreNotMadeForEachChannel) {
  ArraysOfRun sample("Birch", 13000);
  const long before = allocations;
  const auto channels = arrays::MakeChannels(sample.run, sample.parts);
  const long made = allocations - before;
  EXPECT_EQ(channels.channels.size(), 344064U);
  EXPECT_GT(made, 0);
  EXPECT_LT(made, 20);
}

}  // namespace
}  // namespace brio::test
