// Many clients that start at once, each a process of its own that loads a run's small tables with the
// library: the run, its resources, the good-diblock mask, POT and data-quality records. Writes one line of
// JSON.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <new>
#include <random>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "RunHistory/RunHistory.h"
#include "database/LoadScope.h"
#include "framework/exception.h"

namespace {

using brio::dbi::RunHistory;
using Clock = std::chrono::steady_clock;

constexpr int kRun = 13002;

/// What a client leaves behind, in memory that all processes share.
struct Outcome {
  double milliseconds;
  int tries;
  bool succeeded;
};

bool LoadSmallTables() {
  try {
    const brio::dbi::LoadScope scope;
    RunHistory run(kRun, briodaq::cnv::Birch);
    run.SetUseGoodDiBlockMask(true);
    return run.LoadDAQRunHistory() && run.LoadGoodDiBlockMask() && run.LoadPOT() &&
           !run.GetDQSubrunInfo().empty() && run.GetDiBlocks().size() == 14 &&
           run.GetGoodDiBlockMask() == 16383 && run.GetTotalPOT() > 0;
  } catch (const cet::exception&) { return false; }
}

void BeClient(int start, int maxTries, unsigned int number, Outcome& outcome) {
  char unused = 0;
  while (read(start, &unused, 1) > 0) {}  // ends when the parent closes the other side
  const auto begin = Clock::now();
  std::minstd_rand random(number + 1);
  std::uniform_int_distribution<int> pause(50, 150);
  while (!outcome.succeeded && outcome.tries < maxTries) {
    if (outcome.tries > 0) { std::this_thread::sleep_for(std::chrono::milliseconds(pause(random))); }
    ++outcome.tries;
    outcome.succeeded = LoadSmallTables();
  }
  outcome.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t nClients = 1000;
  int maxTries = 1;
  CLI::App app{"Starts many clients at once, each of which loads a run's small tables."};
  app.add_option("--clients", nClients, "how many");
  app.add_option("--tries", maxTries, "how often a client may try");
  CLI11_PARSE(app, argc, argv);

  void* shared =
      mmap(nullptr, nClients * sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  int start[2];
  if (shared == MAP_FAILED || pipe(start) != 0) {
    std::perror("clients");
    return 1;
  }
  auto* outcomes = new (shared) Outcome[nClients]();
  std::vector<pid_t> processes;
  for (std::size_t i = 0; i < nClients; ++i) {
    const pid_t process = fork();
    if (process < 0) {
      std::perror("clients");
      break;
    }
    if (process == 0) {
      close(start[1]);
      if (std::freopen("/dev/null", "w", stdout) == nullptr ||
          std::freopen("/dev/null", "w", stderr) == nullptr) {
        _exit(1);
      }
      BeClient(start[0], maxTries, static_cast<unsigned int>(i), outcomes[i]);
      _exit(0);
    }
    processes.push_back(process);
  }
  const auto begin = Clock::now();
  close(start[1]);
  for (const pid_t process : processes) {
    waitpid(process, nullptr, 0);
  }
  const double wall = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();

  std::vector<double> times;
  int nFailed = 0;
  int nTries = 0;
  for (std::size_t i = 0; i < nClients; ++i) {
    times.push_back(outcomes[i].milliseconds);
    nFailed += outcomes[i].succeeded ? 0 : 1;
    nTries += outcomes[i].tries;
  }
  std::sort(times.begin(), times.end());
  const nlohmann::json report{{"milliseconds", wall},
                              {"p50", times[times.size() / 2]},
                              {"p99", times[times.size() * 99 / 100]},
                              {"failed", nFailed},
                              {"tries", nTries}};
  std::cout << report.dump() << std::endl;
}
