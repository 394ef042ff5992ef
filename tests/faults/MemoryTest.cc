// Memory that cannot be had, once, at many places of a load: the load throws std::bad_alloc as a rule, else
// ends in one of the ways that it announces, and the object and the thread can be used afterwards.
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "framework/exception.h"
#include "tests/RunHistory/ConfiguredSite.h"
#include "tests/faults/CompareRuns.h"
#include "tests/support/Output.h"

namespace {

thread_local long allocations = 0;
thread_local long refused = -1;  // the number of the allocation that fails

void* Counted(std::size_t size) {
  if (++allocations == refused) { throw std::bad_alloc(); }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) { return memory; }
  throw std::bad_alloc();
}

}  // namespace

// The library uses these too; what vectors and strings allocate goes through them.
void* operator new(std::size_t size) { return Counted(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace brio::test {
namespace {

using dbi::RunHistory;

constexpr int kRun = 13001;
constexpr long kPlaces = 60;
const std::string kDCM = "dcm-2-01-05";

class MemoryThatCannotBeHad : public testing::Test {
protected:
  MemoryThatCannotBeHad() {
    site.AddRun(kRun, 77, {kDCM});
    site.AddBoard(1, 5, 0, "95");
    site.AddOrdinaryConfiguration(77, {kDCM});
    site.AddSettings(77, kDCM, 0, "true", "-15", "400");
    site.Execute(
        "INSERT INTO dataquality.gooddiblocksvsrun (run, dbmask, inserttime) VALUES (13001, 1, now())");
  }
  static RunHistory Fresh() {
    RunHistory run(kRun, "Birch");
    run.SetUseGoodDiBlockMask(true);
    run.SetIsBad(geo::OfflineChan(3, 4), true, 5);
    return run;
  }

  /// Loads all, with one allocation refused, by its number from 1. \return how that ended
  static std::string LoadRefused(RunHistory& run, long number) {
    const CapturedOutput output;
    refused = number > 0 ? allocations + number : -1;
    const char* ending = "";
    try {
      ending = run.LoadAllDetInfo() ? "loaded" : "false";
    } catch (const std::bad_alloc&) { ending = "bad_alloc"; } catch (const cet::exception&) {
      ending = "what the loader announces";
    }
    refused = -1;
    return ending;
  }

  ConfiguredSite site;
  CapturedMessages messages{"error"};
};

TEST_F(MemoryThatCannotBeHad, LeavesAnObjectThatLoadsToTheFullAnswer) {
  RunHistory reference = Fresh();
  ASSERT_EQ(LoadRefused(reference, 0), "loaded");  // also makes what is made once in a process
  reference.InvalidateCaches();
  const long before = allocations;
  ASSERT_EQ(LoadRefused(reference, 0), "loaded");
  const long needed = allocations - before;
  ASSERT_GT(needed, kPlaces);
  const auto map = dbi::gLocToFA;
  long thrown = 0;
  for (long place = 0; place < kPlaces; ++place) {
    const long number = 1 + place * needed / kPlaces;
    SCOPED_TRACE(number);
    RunHistory run = Fresh();
    const std::string ending = LoadRefused(run, number);
    if (ending == "bad_alloc") { ++thrown; }
    ASSERT_EQ(LoadRefused(run, 0), "loaded");
    ASSERT_EQ(FirstDifference(run, reference, false), "");
    ASSERT_EQ(FirstDifference(dbi::gLocToFA, map), "");
    ASSERT_TRUE(run.IsBad(geo::OfflineChan(3, 4), 6));
  }
  EXPECT_GE(thrown, kPlaces / 2);
  EXPECT_EQ(site.OpenConnections(), 0);
}

TEST_F(MemoryThatCannotBeHad, MayBeThatOfAMove) {
  RunHistory run = Fresh();
  refused = allocations + 1;
  RunHistory moved(std::move(run));
  refused = -1;
  EXPECT_EQ(moved.GetRunNumber(), kRun);
  EXPECT_EQ(run.GetRunNumber(), -1);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  EXPECT_TRUE(moved.IsBad(geo::OfflineChan(3, 4), 6));
}

}  // namespace
}  // namespace brio::test
