#include <iostream>

#include "RunHistory/RunHistory.h"

int main() {
  brio::dbi::RunHistory run(13000, "Birch");
  const auto started = run.TStartAsString();  // the first question loads what it needs
  const auto dcms = run.NLiveDCMs();
  std::cout << "started " << started << " UTC with " << dcms << " DCMs\n";

  const geo::OfflineChan channel(66, 17);
  bool gainKnown = false;
  bool thresholdKnown = false;
  const auto gain = run.GetPixelGain(channel, gainKnown);
  const auto threshold = run.GetThreshold(channel, thresholdKnown);
  std::cout << "plane 66, cell 17: gain " << gain << ", threshold " << threshold
            << (gainKnown && thresholdKnown ? "\n" : " (not known, defaults)\n");
}
