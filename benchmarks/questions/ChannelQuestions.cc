// Questions about a channel, for all 344,064 channels of the far detector in channel order, answered from
// memory, and beside them an array of the same answers. Time is that of one question. Before a question is
// timed its answers are compared with the run's records, and so are the array's.
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include "RunHistory/RunHistory.h"
#include "benchmarks/questions/Allocations.h"
#include "benchmarks/questions/ChannelArray.h"
#include "experiment/DAQChannelMap.h"

namespace {

using namespace brio::benchmarks;
using brio::dbi::RunHistory;

constexpr int kRun = 13002;

/// The run, loaded once for all benchmarks.
RunHistory& LoadedRun() {
  static RunHistory& run = *[] {
    auto* loaded = new RunHistory(kRun, briodaq::cnv::Birch);
    if (!loaded->LoadAllDetInfo()) { throw std::runtime_error("the run could not be loaded"); }
    return loaded;
  }();
  return run;
}

/// All channels: as the DAQ counts them, and the same ones as the offline software calls them.
struct Channels {
  std::vector<unsigned int> daq;
  std::vector<geo::OfflineChan> offline;
};

const Channels& AllChannels() {
  static const Channels channels = [] {
    const auto& map = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
    Channels all;
    for (unsigned int i = 0; i < kChannels; ++i) {
      const unsigned int board = i / kPixels;
      const unsigned int dcm = board / kPorts;
      all.daq.push_back(map.encodeDChan(briodaq::cnv::Birch, dcm / kDCMs + 1, dcm % kDCMs + 1, board % kPorts,
                                        i % kPixels));
      const auto logical = map.getLogicalChannel(all.daq.back());
      all.offline.emplace_back(map.getPlane(logical), map.getCell(logical));
    }
    return all;
  }();
  return channels;
}

template <class Channel>
const std::vector<Channel>& All();
template <>
const std::vector<unsigned int>& All() {
  return AllChannels().daq;
}
template <>
const std::vector<geo::OfflineChan>& All() {
  return AllChannels().offline;
}

/// The channel's board in the run's records, found the long way.
const RunHistory::FEB& BoardOf(const RunHistory& run, unsigned int channel) {
  const auto& map = *daqchannelmap::DAQChannelMap::getInstance(briodaq::cnv::Birch);
  const auto& diblock = run.GetDiBlocks().at(map.getDiBlock(channel) - 1);
  return diblock.dcms.at(map.getDCM(channel) - 1).febs.at(map.getFEB(channel));
}

/// A question about a channel, the type of its answer in the array beside it, and what the records say that
/// the answer is.
struct GetThreshold {
  using Stored = std::int16_t;
  template <class Channel>
  static int Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetThreshold(channel, ok);
  }
  static Stored Expected(const RunHistory::FEB& feb, unsigned int pixel) {
    const bool on = feb.isEnabled && feb.isInstalled &&
                    ((static_cast<std::uint32_t>(feb.pixelEnableMask) >> pixel) & 1U) != 0;
    return on ? feb.thresholds[pixel] : Stored{4095};
  }
};

struct GetPixelGain {
  using Stored = float;
  template <class Channel>
  static float Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetPixelGain(channel, ok);
  }
  static Stored Expected(const RunHistory::FEB& feb, unsigned int pixel) {
    return feb.isEnabled && feb.isInstalled ? feb.pixelGains[pixel] : 0.0F;
  }
};

struct HasAPD {
  using Stored = char;
  template <class Channel>
  static bool Ask(RunHistory& run, const Channel& channel) {
    return run.HasAPD(channel);
  }
  static Stored Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return static_cast<Stored>(feb.isInstalled);
  }
};

struct GetFEB {
  template <class Channel>
  static unsigned int Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetFEB(channel, ok).plane;
  }
  static unsigned int Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return feb.isEnabled && feb.isInstalled ? feb.plane : 0U;
  }
};

struct GetPixelGains {
  template <class Channel>
  static float Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetPixelGains(channel, ok).back();
  }
  static float Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return feb.isEnabled && feb.isInstalled ? feb.pixelGains.back() : 0.0F;
  }
};

/// What the records say, channel by channel.
template <class Question>
auto ExpectedAnswers() {
  std::vector<decltype(Question::Expected(RunHistory::FEB(), 0))> answers;
  answers.reserve(kChannels);
  for (const unsigned int channel : AllChannels().daq) {
    answers.push_back(Question::Expected(BoardOf(LoadedRun(), channel), channel % kPixels));
  }
  return answers;
}

/// Asks for every channel, first once with every answer compared with the records, then against the clock.
template <class Question, class Channel, class Asked>
void AskAll(benchmark::State& state, const std::vector<Channel>& channels, const Asked& ask) {
  const auto expected = ExpectedAnswers<Question>();
  for (std::size_t i = 0; i < channels.size(); ++i) {
    if (ask(channels[i]) != expected[i]) {
      state.SkipWithError(("a wrong answer for channel " + std::to_string(i)).c_str());
      return;
    }
  }
  const std::size_t before = AllocationCount();
  for (const auto& channel : channels) {
    benchmark::DoNotOptimize(ask(channel));
  }
  const std::size_t allocations = AllocationCount() - before;
  for (auto _ : state) {
    for (const auto& channel : channels) {
      benchmark::DoNotOptimize(ask(channel));
    }
  }
  const auto nChannels = static_cast<double>(channels.size());
  state.counters["allocations"] = static_cast<double>(allocations) / nChannels;
  // The counter's unit is a second a question.
  state.counters["seconds"] = benchmark::Counter(
      nChannels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class Question, class Channel>
void AskRun(benchmark::State& state) {
  RunHistory& run = LoadedRun();
  AskAll<Question>(state, All<Channel>(),
                   [&](const Channel& channel) { return Question::Ask(run, channel); });
}

/// The same answers from an array with a decoded index.
template <class Question>
void AskArray(benchmark::State& state) {
  using Stored = typename Question::Stored;
  const ChannelArray<Stored> array(ExpectedAnswers<Question>(), Stored());
  AskAll<Question>(state, AllChannels().daq, [&](unsigned int channel) { return array[channel]; });
}

BENCHMARK_TEMPLATE(AskArray, GetThreshold)->Name("GetThreshold/array");
BENCHMARK_TEMPLATE(AskRun, GetThreshold, unsigned int)->Name("GetThreshold/DAQ");
BENCHMARK_TEMPLATE(AskRun, GetThreshold, geo::OfflineChan)->Name("GetThreshold/offline");
BENCHMARK_TEMPLATE(AskArray, GetPixelGain)->Name("GetPixelGain/array");
BENCHMARK_TEMPLATE(AskRun, GetPixelGain, unsigned int)->Name("GetPixelGain/DAQ");
BENCHMARK_TEMPLATE(AskRun, GetPixelGain, geo::OfflineChan)->Name("GetPixelGain/offline");
BENCHMARK_TEMPLATE(AskArray, HasAPD)->Name("HasAPD/array");
BENCHMARK_TEMPLATE(AskRun, HasAPD, unsigned int)->Name("HasAPD/DAQ");
BENCHMARK_TEMPLATE(AskRun, HasAPD, geo::OfflineChan)->Name("HasAPD/offline");
BENCHMARK_TEMPLATE(AskRun, GetFEB, unsigned int)->Name("GetFEB/DAQ");
BENCHMARK_TEMPLATE(AskRun, GetPixelGains, unsigned int)->Name("GetPixelGains/DAQ");

}  // namespace

BENCHMARK_MAIN();
