#include <iostream>

#include "RunHistory/FreshTry.h"
#include "database/LoadScope.h"
#include "database/PlainText.h"

namespace brio::dbi {

void RunHistory::Dump() {
  const LoadScope scope(timeQueries, timeParsing, runNumber);
  WriteLine(std::cout, "****************************************");
  WriteLine(std::cout, "Dump of run ", runNumber);
  WriteLine(std::cout, "****************************************\n");
  WriteLine(std::cout, "Num Subruns        : ", nSubruns);
  bool isRecordShown = false;
  const unsigned int nLiveDCMs = WithFreshTry([&] {
    // What loads writes lines of its own, which come before the label.
    const std::string start = TStartAsString();
    if (!isRecordShown) {
      WriteLine(std::cout, "Start time         : ", start);
      const std::string stop = TStopAsString();
      WriteLine(std::cout, "End time           : ", stop);
      WriteLine(std::cout, "Trig Tot           : ", nTriggers);
      WriteLine(std::cout, "Num Active Channels: ", nActiveChannels);
      WriteLine(std::cout, "Num Total Channels:  ", nTotalChannels);
      isRecordShown = true;
    }
    return NLiveDCMs();
  });
  WriteLine(std::cout, "Num DCMs           : ", nLiveDCMs);
  for (const auto& diblock : diBlocks) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { WriteLine(std::cout, "\t", dcm.appName); }
    }
  }
  WriteLine(std::cout, "Num BNEVBs         : ", bnevbs.size());
  for (const auto& bnevb : bnevbs) {
    WriteLine(std::cout, "\t", bnevb.appName);
  }
}

}  // namespace brio::dbi
