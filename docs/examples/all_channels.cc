#include <iostream>

#include "arrays/Boards.h"
#include "arrays/Channels.h"
#include "arrays/Runs.h"

int main() {
  using namespace brio;

  arrays::RunSelection physics;
  physics.type = "Physics";
  physics.newest = 1;
  const auto runs = arrays::ListRuns("Birch", physics);
  if (!runs || runs->empty()) { return 1; }

  dbi::RunHistory run(runs->front().run, "Birch");
  const auto parts = arrays::LoadRun(run, arrays::Depth::Settings);
  int noisy = 0;
  int unknown = 0;
  for (const auto& channel : arrays::MakeChannels(run, parts).channels) {
    if (channel.thresholdStatus != arrays::Status::Known) {
      ++unknown;
    } else if (channel.threshold > 60) {
      ++noisy;
    }
  }
  std::cout << "run " << runs->front().run << ": " << noisy << " channels above 60 ADC counts, " << unknown
            << " without a threshold\n";
  for (const auto& board : arrays::MakeBoards(run, parts).boards) {
    if (board.gain.status != arrays::Status::Replaced) { continue; }
    std::cout << "diblock " << int{board.place.diblock} << ", DCM " << int{board.place.dcm} << ", port "
              << int{board.place.port} << ": gain " << board.measuredGain.value << ", "
              << arrays::ReasonOf(board.gain.status) << '\n';
    break;
  }
}
