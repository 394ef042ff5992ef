// All boards and all channels of a loaded run gathered into arrays. Time is that of the whole array. Before
// it is timed it is compared with the run's own answers.
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "benchmarks/questions/Allocations.h"

namespace {

using namespace brio;

constexpr int kRun = 13002;

struct LoadedRun {
  LoadedRun() : run(kRun, briodaq::cnv::Birch), parts(arrays::LoadRun(run, arrays::Depth::Settings)) {
    if (!parts.UpTo(arrays::Depth::Settings).ok) { throw std::runtime_error("the run could not be loaded"); }
  }
  dbi::RunHistory run;
  arrays::LoadedParts parts;
};

LoadedRun& Loaded() {
  static auto& loaded = *new LoadedRun;
  return loaded;
}

/// The first difference from the run's own answers; empty without one.
std::string WrongAnswer(const arrays::Channels& made) {
  auto& run = Loaded().run;
  for (const auto& channel : made.channels) {
    bool isKnown = false;
    const auto threshold = run.GetThreshold(channel.place.daqChannel, isKnown);
    const bool isThere = channel.thresholdStatus == arrays::Status::Known;
    if (isThere && (!isKnown || threshold != channel.threshold)) {
      return "a wrong threshold of channel " + std::to_string(channel.place.daqChannel);
    }
  }
  return made.channels.empty() ? "there are no channels" : "";
}

std::string WrongAnswer(const arrays::Boards& made) {
  auto& run = Loaded().run;
  for (const auto& board : made.boards) {
    const auto* feb = board.voltage.IsKnown() ? &run : nullptr;
    if (feb == nullptr) { continue; }
    bool isKnown = false;
    const auto channel = arrays::ChannelsOf(
        made.detector)[static_cast<std::size_t>(&board - made.boards.data()) * arrays::kPixels];
    if (run.GetFEB(channel.daqChannel, isKnown).voltage != board.voltage.value || !isKnown) {
      return "a wrong voltage of a board";
    }
  }
  return made.boards.empty() ? "there are no boards" : "";
}

template <class Make>
void Gather(benchmark::State& state, const Make& make) {
  auto& loaded = Loaded();
  const std::string wrong = WrongAnswer(make(loaded.run, loaded.parts));
  if (!wrong.empty()) {
    state.SkipWithError(wrong.c_str());
    return;
  }
  const std::size_t before = brio::benchmarks::AllocationCount();
  make(loaded.run, loaded.parts);
  const std::size_t allocations = brio::benchmarks::AllocationCount() - before;
  for (auto _ : state) {
    benchmark::DoNotOptimize(make(loaded.run, loaded.parts));
  }
  state.counters["allocations"] = static_cast<double>(allocations);
  // The counter's unit is a second an array.
  state.counters["seconds"] =
      benchmark::Counter(1, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Channels(benchmark::State& state) { Gather(state, arrays::MakeChannels); }
void Boards(benchmark::State& state) { Gather(state, arrays::MakeBoards); }
BENCHMARK(Channels);
BENCHMARK(Boards);

}  // namespace

BENCHMARK_MAIN();
