// A thousand objects in one process, and objects on several threads: every answer is that of a fresh object
// alone, and neither memory nor descriptors grow. With
// BRIO_FAULTS_SECONDS the questions go on for at least that long.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "RunHistory/RunHistory.h"
#include "experiment/DAQChannelMap.h"
#include "tests/support/Output.h"
#include "tests/support/Quick.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;

struct Which {
  int run;
  const char* detector;
};

/// Fifty runs of two detectors: whole and partial ones, masked ones, some with records missing, simulated.
std::vector<Which> Runs() {
  std::vector<Which> runs;
  for (const int run : {13000, 13001, 13002, 13003, 13004, 13007, 13008, 13009, 13010, 13011, 13016, 13017}) {
    runs.push_back({run, "Birch"});
  }
  for (int run = 13018; run <= 13040; ++run) {
    runs.push_back({run, "Birch"});
  }
  for (int run = 11000; run <= 11003; ++run) {
    runs.push_back({run, "Alder"});
  }
  for (int run = 1; run <= 5; ++run) {
    runs.push_back({run, "Birch"});
    runs.push_back({1000000 + run, "Alder"});
  }
  runs.push_back({14999, "Birch"});  // does not exist
  return runs;
}

RunHistory Made(const Which& which) {
  RunHistory run(which.run, which.detector);
  // Of the far detector only: the near one's first answer with the mask in use is another.
  run.SetUseGoodDiBlockMask(which.run % 2 == 0 && which.detector == std::string("Birch"));
  return run;
}

unsigned int Channel(const RunHistory& run, unsigned int number) {
  const auto detector = static_cast<int>(run.GetDetectorId());
  return daqchannelmap::DAQChannelMap::getInstance(detector)->encodeDChan(
      detector, 1 + number % 14, 1 + number % 12, (number * 7) % 64, number % 32);
}

constexpr int kThreadSafeQuestions = 11;
constexpr int kQuestions = 15;
constexpr unsigned int kNumbers = 6;

/// The answer to a question of a kind, as a text. The first kinds may be asked on several threads.
std::string Ask(RunHistory& run, int kind, unsigned int number) {
  const unsigned int channel = Channel(run, number);
  const int diblock = 1 + static_cast<int>(number % 14);
  // Which run is simulated is known from here on; for its POT, that is another answer than before.
  run.LoadDAQRunHistory();
  bool known = false;
  std::ostringstream answer;
  switch (kind) {
    case 0: answer << run.TStartAsString() << run.TStopAsString(); break;
    case 1: answer << run.TStart() << " " << run.SubrunTStop(run.NSubruns() - 1); break;
    case 2: answer << run.NDCMs() << " " << run.NLiveDCMs(); break;
    case 3: answer << run.HasAPD(channel); break;
    case 4: answer << run.IsGoodDiBlock(diblock); break;
    case 5: answer << run.LoadPOT() << " " << run.GetTotalPOT(); break;
    case 6: answer << run.GetDQSubrunInfo().size(); break;
    case 7: answer << run.GetConfiguration(); break;
    case 8: answer << run.NAnalysisChannels(); break;
    case 9: answer << run.LoadHardwareInfo(); break;
    case 10: answer << run.IsDiBlockFullyInstrumented(diblock); break;
    case 11: answer << run.GetThreshold(channel, known) << " "; break;
    case 12: answer << run.GetPixelGain(channel, known) << " "; break;
    case 13: answer << run.GetFEB(channel, known).temperature << " "; break;
    default: answer << run.LoadAllDetInfo() << " " << run.NTotalChannels(); break;
  }
  answer << known;
  return answer.str();
}

std::ptrdiff_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return std::distance(begin(descriptors), end(descriptors));
}

double ResidentMegabytes() {
  std::ifstream file("/proc/self/statm");
  long size = 0;
  long resident = 0;
  file >> size >> resident;
  return static_cast<double>(resident) * 4096 / 1e6;
}

std::chrono::seconds ExtraTime() {
  const char* setting = std::getenv("BRIO_FAULTS_SECONDS");
  return std::chrono::seconds(setting != nullptr ? std::atoi(setting) : 0);
}

class ManyObjects : public testing::Test {
protected:
  const EnvironmentVariable database_{"BRIO_DATABASE", server::Template("small")};
};

/// Answers of a run when a fresh object is asked them one after the other.
class FreshAnswers {
public:
  explicit FreshAnswers(const Which& which, int kinds = kQuestions) {
    RunHistory run = Made(which);
    for (int kind = 0; kind < kinds; ++kind) {
      for (unsigned int number = 0; number < kNumbers; ++number) {
        answers_.push_back(Ask(run, kind, number));
      }
    }
  }
  const std::string& Get(int kind, unsigned int number) const {
    return answers_.at(static_cast<std::size_t>(kind) * kNumbers + number);
  }

private:
  std::vector<std::string> answers_;
};

TEST_F(ManyObjects, AnswerLikeFreshOnesAndTakeNoMore) {
  const std::size_t objectsCount = IsQuick() ? 300 : 1000;
  constexpr std::size_t kLoadedAtOnce = 40;
  constexpr long kQuestionsOfOne = 4;
  const auto seed = std::random_device{}();
  std::mt19937 random(seed);
  const auto runs = Runs();
  ASSERT_EQ(runs.size(), 50U);
  std::vector<std::unique_ptr<RunHistory>> objects;
  std::vector<std::size_t> untouched;
  for (std::size_t i = 0; i < objectsCount; ++i) {
    objects.push_back(std::make_unique<RunHistory>(Made(runs[i % runs.size()])));
    untouched.push_back(i);
  }
  std::shuffle(untouched.begin(), untouched.end(), random);
  std::vector<FreshAnswers> fresh;
  std::vector<std::size_t> loaded;
  long asked = 0;
  double megabytesEarly = 0;
  std::ptrdiff_t descriptors = 0;
  std::string firstDifference;
  {
    const CapturedOutput output;
    const CapturedMessages messages("error");
    for (const auto& run : runs) {
      fresh.emplace_back(run);
    }
    const auto end = std::chrono::steady_clock::now() + ExtraTime();
    while (firstDifference.empty() && (!untouched.empty() || std::chrono::steady_clock::now() < end)) {
      // A question in four goes to an object that was not asked yet (later: to any), the others to objects
      // that hold something already. Most are of kinds that load little.
      const bool first = loaded.empty() || random() % kQuestionsOfOne == 0;
      if (first) { loaded.push_back(untouched.empty() ? random() % objectsCount : untouched.back()); }
      if (first && !untouched.empty()) { untouched.pop_back(); }
      const std::size_t index = first ? loaded.back() : loaded[random() % loaded.size()];
      const bool light = random() % (first ? 10 : 3) != 0;
      const int kind = static_cast<int>(random() % (light ? kThreadSafeQuestions : kQuestions));
      const auto number = static_cast<unsigned int>(random() % kNumbers);
      const auto answer = Ask(*objects[index], kind, number);
      const Which& which = runs[index % runs.size()];
      const auto& expected = fresh[index % runs.size()].Get(kind, number);
      if (answer != expected) {
        firstDifference = "run " + std::to_string(which.run) + " of " + which.detector + ", question " +
                          std::to_string(kind) + "." + std::to_string(number) + ": \"" + answer +
                          "\" instead of \"" + expected + "\", seed " + std::to_string(seed);
      }
      if (loaded.size() > kLoadedAtOnce) {
        const std::size_t oldest = loaded.front();
        loaded.erase(loaded.begin());
        if (random() % 2 == 0) {
          objects[oldest]->InvalidateCaches();
        } else {
          objects[oldest] = std::make_unique<RunHistory>(Made(runs[oldest % runs.size()]));
        }
      }
      // Once as much is held at a time as ever will be.
      if (++asked == 1000) {
        megabytesEarly = ResidentMegabytes();
        descriptors = OpenDescriptors();
      }
    }
  }
  EXPECT_EQ(firstDifference, "");
  EXPECT_GT(asked, 1000);
  EXPECT_LE(OpenDescriptors(), descriptors);
  EXPECT_LT(ResidentMegabytes(), 1.3 * megabytesEarly + 50) << megabytesEarly << " MB after 1000 questions";
  std::cout << asked << " questions of " << objectsCount << " objects; resident " << megabytesEarly
            << " MB after 1000 questions, " << ResidentMegabytes() << " MB at the end\n";
}

TEST_F(ManyObjects, OnSeveralThreadsAnswerLikeFreshOnes) {
  constexpr unsigned int kThreads = 8;
  constexpr int kObjectsOfThread = 6;
  auto runs = Runs();
  std::vector<FreshAnswers> fresh;
  std::vector<std::string> differences(kThreads);
  {
    const CapturedOutput output;
    const CapturedMessages messages("error");
    for (const auto& run : runs) {
      fresh.emplace_back(run, kThreadSafeQuestions);
    }
    std::vector<std::thread> threads;
    for (unsigned int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (unsigned int i = 0; i < kObjectsOfThread; ++i) {
          const std::size_t index = (thread + kThreads * i) % runs.size();
          const Which& which = runs[index];
          RunHistory run = Made(which);
          run.SetChanInfo(geo::OfflineChan(1, 2), 0.5F, 0.25F, 10);
          for (int kind = 0; kind < kThreadSafeQuestions; ++kind) {
            const unsigned int number = (thread + i) % kNumbers;
            const auto answer = Ask(run, kind, number);
            if (answer != fresh[index].Get(kind, number)) {
              differences[thread] = "run " + std::to_string(which.run) + ", question " +
                                    std::to_string(kind) + ": \"" + answer + "\"";
            }
          }
          if (run.Occupancy(geo::OfflineChan(1, 2), 11) != 0.5F) { differences[thread] = "channel record"; }
        }
      });
    }
    for (auto& thread : threads) {
      thread.join();
    }
  }
  for (const auto& difference : differences) {
    EXPECT_EQ(difference, "");
  }
}

}  // namespace
}  // namespace brio::test
