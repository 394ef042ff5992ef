// Questions about a channel, for all 344,064 channels of the far detector in channel order, answered from
// memory. Time is that of one question. Before a question is timed its answers are compared with the run's
// records.
#include <sstream>
#include <stdexcept>

#include <benchmark/benchmark.h>

#include "RunHistory/RunHistory.h"
#include "benchmarks/questions/Allocations.h"
#include "experiment/DAQChannelMap.h"

namespace {

using brio::benchmarks::AllocationCount;
using brio::dbi::RunHistory;

constexpr int kRun = 13002;
constexpr unsigned int kDiBlocks = 14;
constexpr unsigned int kDCMs = 12;
constexpr unsigned int kPorts = 64;
constexpr unsigned int kPixels = 32;

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
    for (unsigned int i = 0; i < kDiBlocks * kDCMs * kPorts * kPixels; ++i) {
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

/// A question about a channel, its answer as a number, and what the records say that the answer is.
struct GetThreshold {
  template <class Channel>
  static double Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetThreshold(channel, ok);
  }
  static double Expected(const RunHistory::FEB& feb, unsigned int pixel) {
    const bool on = feb.isEnabled && feb.isInstalled &&
                    ((static_cast<std::uint32_t>(feb.pixelEnableMask) >> pixel) & 1U) != 0;
    return on ? feb.thresholds[pixel] : 4095;
  }
};

struct GetPixelGain {
  template <class Channel>
  static double Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return static_cast<double>(run.GetPixelGain(channel, ok));
  }
  static double Expected(const RunHistory::FEB& feb, unsigned int pixel) {
    return feb.isEnabled && feb.isInstalled ? static_cast<double>(feb.pixelGains[pixel]) : 0.0;
  }
};

struct HasAPD {
  template <class Channel>
  static double Ask(RunHistory& run, const Channel& channel) {
    return run.HasAPD(channel) ? 1 : 0;
  }
  static double Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return feb.isInstalled ? 1 : 0;
  }
};

struct GetFEB {
  template <class Channel>
  static double Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return run.GetFEB(channel, ok).plane;
  }
  static double Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return feb.isEnabled && feb.isInstalled ? feb.plane : 0;
  }
};

struct GetPixelGains {
  template <class Channel>
  static double Ask(RunHistory& run, const Channel& channel) {
    bool ok = false;
    return static_cast<double>(run.GetPixelGains(channel, ok).back());
  }
  static double Expected(const RunHistory::FEB& feb, unsigned int /*pixel*/) {
    return feb.isEnabled && feb.isInstalled ? static_cast<double>(feb.pixelGains.back()) : 0.0;
  }
};

/// The first channel, by number, whose answer differs from the records; empty when none does.
template <class Question, class Channel>
std::string WrongAnswer() {
  RunHistory& run = LoadedRun();
  const auto& channels = AllChannels();
  for (std::size_t i = 0; i < channels.daq.size(); ++i) {
    const double expected =
        Question::Expected(BoardOf(run, channels.daq[i]), static_cast<unsigned int>(i % kPixels));
    const double answer = Question::Ask(run, All<Channel>()[i]);
    if (answer != expected) {
      std::ostringstream text;
      text << "channel " << i << ": " << answer << " instead of " << expected;
      return text.str();
    }
  }
  return {};
}

template <class Question, class Channel>
void Ask(benchmark::State& state) {
  const std::string wrong = WrongAnswer<Question, Channel>();
  if (!wrong.empty()) {
    state.SkipWithError(wrong.c_str());
    return;
  }
  RunHistory& run = LoadedRun();
  const auto& channels = All<Channel>();
  const std::size_t before = AllocationCount();
  for (const auto& channel : channels) {
    benchmark::DoNotOptimize(Question::Ask(run, channel));
  }
  const std::size_t allocations = AllocationCount() - before;
  for (auto _ : state) {
    for (const auto& channel : channels) {
      benchmark::DoNotOptimize(Question::Ask(run, channel));
    }
  }
  const auto nChannels = static_cast<double>(channels.size());
  state.counters["allocations"] = static_cast<double>(allocations) / nChannels;
  // The counter's unit is a second a question.
  state.counters["seconds"] = benchmark::Counter(
      nChannels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK_TEMPLATE(Ask, GetThreshold, unsigned int)->Name("GetThreshold/DAQ");
BENCHMARK_TEMPLATE(Ask, GetThreshold, geo::OfflineChan)->Name("GetThreshold/offline");
BENCHMARK_TEMPLATE(Ask, GetPixelGain, unsigned int)->Name("GetPixelGain/DAQ");
BENCHMARK_TEMPLATE(Ask, GetPixelGain, geo::OfflineChan)->Name("GetPixelGain/offline");
BENCHMARK_TEMPLATE(Ask, HasAPD, unsigned int)->Name("HasAPD/DAQ");
BENCHMARK_TEMPLATE(Ask, HasAPD, geo::OfflineChan)->Name("HasAPD/offline");
BENCHMARK_TEMPLATE(Ask, GetFEB, unsigned int)->Name("GetFEB/DAQ");
BENCHMARK_TEMPLATE(Ask, GetPixelGains, unsigned int)->Name("GetPixelGains/DAQ");

}  // namespace

BENCHMARK_MAIN();
