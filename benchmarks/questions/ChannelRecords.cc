// Channel records that clients add: asking a channel with 10, 1,000 and 1,000,000 records, and filling and
// asking all 344,064 channels. Time is that of one question or one record.
#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "RunHistory/RunHistory.h"

namespace {

using brio::dbi::RunHistory;

const geo::OfflineChan kChannel(7, 11);
constexpr unsigned int kPlanes = 896;
constexpr unsigned int kCells = 384;
constexpr long kStep = 10;
constexpr std::size_t kQuestions = 1 << 16;

enum class Spread { Even, Uneven };

/// When a channel's records begin: at 10, 20, 30 …, or at distances that are mostly small and sometimes a
/// thousand times larger, on average the same.
std::vector<long> RecordTimes(long nRecords, Spread spread) {
  std::mt19937_64 random(2);
  std::lognormal_distribution<double> distance(0.0, 2.0);
  std::vector<long> times;
  double uneven = kStep;
  for (long i = 0; i < nRecords; ++i) {
    times.push_back(spread == Spread::Even ? kStep * (i + 1) : static_cast<long>(uneven));
    uneven += kStep * distance(random) / std::exp(2.0);
  }
  return times;
}

/// A run with these records for one channel: record i has occupancy i mod 1000 and is bad when i is odd.
RunHistory& RunWith(const std::vector<long>& recordTimes, Spread spread) {
  static std::map<std::pair<std::size_t, Spread>, RunHistory> runs;
  const auto [entry, isNew] = runs.try_emplace({recordTimes.size(), spread});
  RunHistory& run = entry->second;
  for (std::size_t i = 0; isNew && i < recordTimes.size(); ++i) {
    run.SetChanInfo(kChannel, static_cast<float>(i % 1000), 0.0F, recordTimes[i]);
    run.SetIsBad(kChannel, i % 2 == 1, recordTimes[i]);
  }
  return run;
}

enum class Order { InTime, Random, OfRandomRecords };

/// Times to ask for: events that come ten to a record, from the middle of the records on; or any times; or
/// the times of any records.
std::vector<long> Times(const std::vector<long>& recordTimes, Order order) {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<long> anyTime(0, recordTimes.back() + kStep);
  std::uniform_int_distribution<std::size_t> anyRecord(0, recordTimes.size() - 1);
  std::vector<long> times(kQuestions);
  long next = recordTimes[recordTimes.size() / 2];
  for (long& time : times) {
    time = order == Order::InTime   ? next++
           : order == Order::Random ? anyTime(random)
                                    : recordTimes[anyRecord(random)];
  }
  return times;
}

struct IsBad {
  static bool Ask(RunHistory& run, long time) { return run.IsBad(kChannel, time); }
  static bool Expected(long last) { return last >= 0 && last % 2 == 1; }
};
struct Occupancy {
  static float Ask(RunHistory& run, long time) { return run.Occupancy(kChannel, time); }
  static float Expected(long last) { return last >= 0 ? static_cast<float>(last % 1000) : -6.0F; }
};

/// Per question, in seconds.
benchmark::Counter SecondsEach(double count) {
  return {count, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert};
}

template <class Question, Order kOrder, Spread kSpread = Spread::Even>
void AskOne(benchmark::State& state) {
  const auto recordTimes = RecordTimes(state.range(0), kSpread);
  RunHistory& run = RunWith(recordTimes, kSpread);
  const auto times = Times(recordTimes, kOrder);
  for (const long time : times) {
    // The last record strictly before the time.
    const auto next = std::lower_bound(recordTimes.begin(), recordTimes.end(), time);
    if (Question::Ask(run, time) != Question::Expected(next - recordTimes.begin() - 1)) {
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
BENCHMARK_TEMPLATE(AskOne, IsBad, Order::OfRandomRecords, Spread::Uneven)
    ->Name("IsBad/uneven")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(1000000);
BENCHMARK_TEMPLATE(AskOne, Occupancy, Order::OfRandomRecords, Spread::Uneven)
    ->Name("Occupancy/uneven")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(1000000);
BENCHMARK(Fill)->Name("channels/fill");
BENCHMARK(AskAll)->Name("channels/ask");

}  // namespace

BENCHMARK_MAIN();
