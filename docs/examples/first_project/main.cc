#include <exception>
#include <iostream>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "arrays/Layout.h"

int main() {
  brio::dbi::SetProgressOutput(nullptr);  // standard output is for the answer
  try {
    brio::dbi::RunHistory run(13000, "Birch");
    if (!run.LoadAllDetInfo()) {
      std::cerr << "run 13000 cannot be loaded\n";
      return 1;
    }
    long sum = 0;
    int known = 0;
    for (const auto& place : brio::arrays::ChannelsOf(run.GetDetectorId())) {
      bool ok = false;
      const int threshold = run.GetThreshold(place.daqChannel, ok);
      if (!ok) { continue; }  // threshold is 4095 then
      sum += threshold;
      ++known;
    }
    if (known == 0) { return 1; }
    std::cout << known << " channels, mean threshold " << sum / known << " ADC counts\n";
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
