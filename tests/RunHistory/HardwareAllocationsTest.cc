#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "experiment/DAQChannelMap.h"
#include "tests/RunHistory/HardwareRows.h"

namespace {

long allocations = 0;  // the tests have one thread

void* Counted(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) { return memory; }
  throw std::bad_alloc();
}

}  // namespace

// The library uses these too; what vectors and strings allocate goes through them.
void* operator new(std::size_t size) { return Counted(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace brio::dbi {
namespace {

/// How many allocations an action makes.
template <class Action>
long AllocationsOf(const Action& action) {
  const long before = allocations;
  action();
  return allocations - before;
}

class HardwareAllocations : public testing::Test {
protected:
  // The channel map is made by the first who asks for it.
  HardwareAllocations() { daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch); }

  test::EnvironmentVariable address_{"BRIO_DATABASE", test::server::Template("small")};
};

TEST_F(HardwareAllocations, AreCounted) {
  EXPECT_EQ(AllocationsOf([] { delete ::new int(1); }), 1);
  EXPECT_EQ(AllocationsOf([] { std::vector<float>(32); }), 1);
}

/// Asks everything about channels all over the detector, also those without an answer.
template <class Ask>
void AskAllOver(const Ask& ask) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  for (unsigned int plane = 0; plane < 900; plane += 7) {
    for (unsigned int cell = 0; cell < 390; cell += 31) {
      const geo::OfflineChan offline(plane, cell);
      const unsigned int channel = map.getDAQChannel(map.encodeLChan(briodaq::cnv::Birch, plane, cell));
      ask(channel, offline);
    }
  }
}

TEST_F(HardwareAllocations, NoneForQuestionsOfALoadedRun) {
  const test::CapturedMessages messages("error");
  RunHistory run(13002, "Birch");
  run.SetUseGoodDiBlockMask(true);
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadAllDetInfo());
  int nOk = 0;
  EXPECT_EQ(AllocationsOf([&] {
              AskAllOver([&](const unsigned int& channel, const geo::OfflineChan& offline) {
                bool ok = false;
                run.HasAPD(channel);
                run.HasAPD(offline);
                run.GetGain(channel, ok);
                nOk += ok ? 1 : 0;
                run.GetGain(offline, ok);
                run.GetPixelGain(channel, ok);
                run.GetPixelGain(offline, ok);
                run.GetThreshold(channel, ok);
                run.GetThreshold(offline, ok);
              });
            }),
            0);
  EXPECT_GT(nOk, 50);
}

TEST_F(HardwareAllocations, NoneForQuestionsOfASimulatedRun) {
  RunHistory run(1, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadAllDetInfo());
  EXPECT_EQ(AllocationsOf([&] {
              AskAllOver([&](const unsigned int& channel, const geo::OfflineChan& offline) {
                bool ok = false;
                run.HasAPD(channel);
                run.HasAPD(offline);
                run.GetGain(channel, ok);
                run.GetPixelGain(offline, ok);
              });
            }),
            0);
}

TEST_F(HardwareAllocations, OnlyTheCopyThatIsAskedFor) {
  const test::CapturedMessages messages("error");
  RunHistory run(13002, "Birch");
  test::CapturedOutput output;
  ASSERT_TRUE(run.LoadAllDetInfo());
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  const unsigned int channel = map.encodeDChan(briodaq::cnv::Birch, 1, 1, 0, 5);
  bool ok = false;
  EXPECT_EQ(AllocationsOf([&] { run.GetPixelGains(channel, ok); }), 1);
  EXPECT_TRUE(ok);
  EXPECT_EQ(AllocationsOf([&] { run.GetFEB(channel, ok); }), 2);  // gains and thresholds
  EXPECT_TRUE(ok);
}

/// 10,752 locations without hardware are a lot of lines; when nobody reads them, none is put together.
TEST_F(HardwareAllocations, TheListOfEmptyLocationsCostsNothingUnlessItIsRead) {
  const test::EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nowhere");
  RunHistory run = test::RunStartingAt();
  const auto ofMapping = [&](const char* levels) {
    const test::CapturedMessages messages(levels);
    test::CapturedOutput output;
    return AllocationsOf([&] { test::MapHardware(run); });
  };
  EXPECT_LT(ofMapping("error"), 1000);
  EXPECT_GT(ofMapping("debug"), 10752);
}

}  // namespace
}  // namespace brio::dbi
