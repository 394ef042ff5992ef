#include <iostream>
#include <map>
#include <string>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "arrays/Answers.h"
#include "arrays/Boards.h"
#include "arrays/Layout.h"

int main() {
  using namespace brio;

  dbi::SetProgressOutput(nullptr);
  dbi::RunHistory run(13000, "Birch");
  int answered = 0;
  int measured = 0;
  for (const auto& place : arrays::ChannelsOf(briodaq::cnv::Birch)) {
    bool ok = false;
    run.GetGain(place.daqChannel, ok);
    if (ok) { ++answered; }
    if (arrays::Gain(run, place.daqChannel)) { ++measured; }
  }
  std::cout << "the gain of " << answered << " channels is ok, that of " << measured << " was measured\n";

  const auto parts = arrays::LoadRun(run, arrays::Depth::Settings);
  std::map<std::string, int> reasons;
  for (const auto& board : arrays::MakeBoards(run, parts).boards) {
    ++reasons[arrays::NameOf(board.gain.status)];
  }
  for (const auto& [reason, boards] : reasons) {
    std::cout << reason << ": " << boards << " boards\n";
  }
}
