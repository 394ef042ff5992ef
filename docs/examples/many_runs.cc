#include <exception>
#include <future>
#include <iostream>
#include <utility>
#include <vector>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "arrays/Boards.h"
#include "database/KeptConnections.h"
#include "framework/MessageLogger.h"
#include "framework/exception.h"

double MeanVoltage(const brio::arrays::Boards& boards) {
  double sum = 0;
  int known = 0;
  for (const auto& board : boards.boards) {
    if (!board.voltage.IsKnown()) { continue; }
    sum += board.voltage.value;
    ++known;
  }
  return known == 0 ? 0 : sum / known;
}

int main() {
  using namespace brio;

  dbi::SetProgressOutput(nullptr);
  messagelogger::SetLevels("error,RunHistory=off");
  const dbi::KeptConnections kept;  // one connection for all the loads of this thread
  std::vector<std::pair<int, std::future<double>>> means;
  for (const int number : {13000, 13002, 13004}) {
    try {
      dbi::RunHistory run(number, "Birch");  // of its own, so that nothing is left of the run before
      run.SetAbortIfIncomplete(true);
      if (!run.LoadAllDetInfo()) {
        std::cout << number << " cannot be loaded\n";
        continue;
      }
      // Plain values, which any thread may read; the loads stay on this one.
      auto boards = arrays::MakeBoards(run, arrays::LoadRun(run, arrays::Depth::Settings));
      means.emplace_back(number, std::async(std::launch::async, MeanVoltage, std::move(boards)));
    } catch (const cet::exception& error) {
      std::cout << number << ": " << error.category() << '\n';
    } catch (const std::exception& error) { std::cout << number << ": " << error.what() << '\n'; }
  }
  for (auto& [number, mean] : means) {
    std::cout << number << ": " << mean.get() << " V\n";
  }
}
