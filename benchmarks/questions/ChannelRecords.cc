// Channel records that clients add: asking a channel with 10, 1,000 and 1,000,000 records, and filling and
// asking all 344,064 channels. Time is that of one question or one record.
#include <algorithm>
#include <map>
#include <random>

#include <benchmark/benchmark.h>

#include "RunHistory/RunHistory.h"

namespace {

using brio::dbi::RunHistory;

const geo::OfflineChan kChannel(7, 11);
constexpr unsigned int kPlanes = 896;
constexpr unsigned int kCells = 384;
constexpr long kStep = 10;
constexpr std::size_t kQuestions = 1 << 16;

/// A run with records at times 10, 20, 30 … for one channel: record i has occupancy i mod 1000 and is bad
/// when i is odd.
RunHistory& RunWith(long nRecords) {
  static std::map<long, RunHistory> runs;
  const auto [entry, isNew] = runs.try_emplace(nRecords);
  RunHistory& run = entry->second;
  for (long i = 0; isNew && i < nRecords; ++i) {
    run.SetChanInfo(kChannel, static_cast<float>(i % 1000), 0.0F, kStep * (i + 1));
    run.SetIsBad(kChannel, i % 2 == 1, kStep * (i + 1));
  }
  return run;
}

enum class Order { InTime, Random };

/// Times to ask for: events that come ten to a record, from the middle of the records on; or any times.
std::vector<long> Times(long nRecords, Order order) {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<long> anyTime(0, kStep * (nRecords + 1));
  std::vector<long> times(kQuestions);
  long next = kStep * nRecords / 2;
  for (long& time : times) {
    time = order == Order::InTime ? next++ : anyTime(random);
  }
  return times;
}

struct IsBad {
  static double Ask(RunHistory& run, long time) { return run.IsBad(kChannel, time) ? 1 : 0; }
  static double Expected(long last) { return last >= 0 && last % 2 == 1 ? 1 : 0; }
};
struct Occupancy {
  static double Ask(RunHistory& run, long time) { return static_cast<double>(run.Occupancy(kChannel, time)); }
  static double Expected(long last) { return last >= 0 ? static_cast<double>(last % 1000) : -6; }
};

/// Per question, in seconds.
benchmark::Counter SecondsEach(double count) {
  return {count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert};
}

template <class Question, Order kOrder>
void AskOne(benchmark::State& state) {
  const long nRecords = state.range(0);
  RunHistory& run = RunWith(nRecords);
  const auto times = Times(nRecords, kOrder);
  for (const long time : times) {
    // The last record strictly before the time.
    const long last = std::min((time - 1) / kStep, nRecords) - 1;
    if (Question::Ask(run, time) != Question::Expected(last)) {
      state.SkipWithError("a wrong answer");
      return;
    }
  }
  for (auto _ : state) {
    for (const long time : times) {
      benchmark::DoNotOptimize(Question::Ask(run, time));
    }
  }
  state.counters["seconds"] = SecondsEach(static_cast<double>(times.size()));
}

void Fill(benchmark::State& state) {
  for (auto _ : state) {
    RunHistory run;
    for (unsigned int plane = 0; plane < kPlanes; ++plane) {
      for (unsigned int cell = 0; cell < kCells; ++cell) {
        run.SetIsBad(geo::OfflineChan(plane, cell), cell % 2 == 1, 10);
      }
    }
    benchmark::DoNotOptimize(&run);
  }
  state.counters["seconds"] = SecondsEach(kPlanes * kCells);
}

void AskAll(benchmark::State& state) {
  RunHistory run;
  for (unsigned int plane = 0; plane < kPlanes; ++plane) {
    for (unsigned int cell = 0; cell < kCells; ++cell) {
      run.SetIsBad(geo::OfflineChan(plane, cell), cell % 2 == 1, 10);
    }
  }
  for (auto _ : state) {
    int nBad = 0;
    for (unsigned int plane = 0; plane < kPlanes; ++plane) {
      for (unsigned int cell = 0; cell < kCells; ++cell) {
        nBad += run.IsBad(geo::OfflineChan(plane, cell), 11) ? 1 : 0;
      }
    }
    if (nBad != static_cast<int>(kPlanes * kCells / 2)) {
      state.SkipWithError("a wrong answer");
      break;
    }
  }
  state.counters["seconds"] = SecondsEach(kPlanes * kCells);
}

BENCHMARK_TEMPLATE(AskOne, IsBad, Order::InTime)->Name("IsBad/in-time")->Arg(10)->Arg(1000)->Arg(1000000);
BENCHMARK_TEMPLATE(AskOne, IsBad, Order::Random)->Name("IsBad/random")->Arg(10)->Arg(1000)->Arg(1000000);
BENCHMARK_TEMPLATE(AskOne, Occupancy, Order::InTime)
    ->Name("Occupancy/in-time")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(1000000);
BENCHMARK_TEMPLATE(AskOne, Occupancy, Order::Random)
    ->Name("Occupancy/random")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(1000000);
BENCHMARK(Fill)->Name("channels/fill");
BENCHMARK(AskAll)->Name("channels/ask");

}  // namespace

BENCHMARK_MAIN();
