// Loads the same run many times and says how each load went; failover.sh runs it against servers that come
// and go.
//
//   series_of_loads series N     whole loads, one after the other
//   series_of_loads parallel N   run records and hardware, N at a time, each on a thread of its own
//
// A line for each load: "whole", "whole at the second call" (the first failed cleanly), "whole after
// InvalidateCaches" (questions failed whose answers count as none) or "WRONG: …". Exit status 1 after the
// last.
#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "RunHistory/RunHistory.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"
#include "tests/faults/CompareRuns.h"

namespace {

using brio::dbi::RunHistory;

constexpr int kRun = 13000;
constexpr int kCalls = 200;

bool Loads(RunHistory& run) {
  try {
    return run.LoadAllDetInfo();
  } catch (const cet::exception&) { return false; }
}

bool LoadsWithin(RunHistory& run, int calls) {
  for (int call = 0; call < calls; ++call) {
    if (Loads(run)) { return true; }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return false;
}

std::string HowItWent(const RunHistory& reference) {
  using brio::test::FirstDifference;
  RunHistory run(kRun, "Birch");
  const bool first = Loads(run);
  if (!first && !LoadsWithin(run, kCalls)) { return "WRONG: does not load again"; }
  if (FirstDifference(run, reference).empty()) { return first ? "whole" : "whole at the second call"; }
  run.InvalidateCaches();
  if (!LoadsWithin(run, kCalls)) { return "WRONG: does not load after InvalidateCaches"; }
  const std::string difference = FirstDifference(run, reference, false);
  return difference.empty() ? "whole after InvalidateCaches" : "WRONG: " + difference;
}

int Series(int number, std::ostream& answers) {
  RunHistory reference(kRun, "Birch");
  if (!reference.LoadAllDetInfo()) { return 1; }
  bool good = true;
  for (int i = 0; i < number; ++i) {
    const std::string how = HowItWent(reference);
    good = good && how.rfind("WRONG", 0) != 0;
    answers << how << std::endl;
  }
  return good ? 0 : 1;
}

int Parallel(int number, std::ostream& answers) {
  const auto load = [](RunHistory& run) {
    try {
      return run.LoadHardwareInfo();
    } catch (const cet::exception&) { return false; }
  };
  RunHistory reference(kRun, "Birch");
  if (!load(reference)) { return 1; }
  std::atomic<int> ready{0};
  std::atomic<bool> good{true};
  std::mutex mutex;
  std::vector<std::thread> threads;
  for (int i = 0; i < number; ++i) {
    threads.emplace_back([&] {
      RunHistory run(kRun, "Birch");
      for (++ready; ready < number;) {
        std::this_thread::yield();
      }
      const bool loaded = load(run);
      const std::string difference = loaded ? brio::test::FirstDifference(run, reference) : "does not load";
      const std::lock_guard<std::mutex> lock(mutex);
      if (!difference.empty()) { good = false; }
      answers << (difference.empty() ? "whole" : "WRONG: " + difference) << "\n";
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) { return 2; }
  // The library's own lines go nowhere; the answers go to standard output.
  std::ostream answers(std::cout.rdbuf());
  std::cout.rdbuf(nullptr);
  std::cerr.rdbuf(nullptr);
  brio::messagelogger::SetSink([](brio::Severity, const std::string&, const std::string&) {});
  const int number = std::stoi(argv[2]);
  const int status = argv[1] == std::string("series") ? Series(number, answers) : Parallel(number, answers);
  answers.flush();
  return status;
}
