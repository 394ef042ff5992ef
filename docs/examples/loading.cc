#include <iostream>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"

int main() {
  brio::dbi::SetProgressOutput(nullptr);
  brio::dbi::RunHistory run(13000, "Birch");
  run.SetUseGoodDiBlockMask(true);  // settings come before the first question
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(0b11110000000000);  // bit i for diblock i + 1

  std::cout << "before any load: " << run.NSubruns() << " subruns\n";
  std::cout << run.NDCMs() << " DCMs took part, ";  // this loads
  std::cout << run.NLiveDCMs() << " of them in good diblocks, " << run.NSubruns() << " subruns\n";
  std::cout << "good diblocks " << run.DiBlockMaskToString(run.GetGoodDiBlockMask()) << '\n';

  run.SetRunNumber(13001);  // forgets all of that and the custom mask's value, but no other setting
  run.SetUseCustomMask(false);
  std::cout << "13001: " << run.GetDiBlocks().size() << " diblocks, ";
  if (!run.LoadDAQRunHistory()) { return 1; }
  std::cout << run.GetDiBlocks().size() << " once it is loaded\n";
}
