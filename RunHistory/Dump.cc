#include <iostream>

#include "RunHistory/RunHistory.h"
#include "database/LoadScope.h"

namespace brio::dbi {

void RunHistory::Dump() {
  const LoadScope scope;
  std::cout << "****************************************" << std::endl;
  std::cout << "Dump of run " << runNumber << std::endl;
  std::cout << "****************************************\n" << std::endl;
  std::cout << "Num Subruns        : " << nSubruns << std::endl;
  // What loads writes lines of its own, which come before the label.
  const std::string start = TStartAsString();
  std::cout << "Start time         : " << start << std::endl;
  const std::string stop = TStopAsString();
  std::cout << "End time           : " << stop << std::endl;
  std::cout << "Trig Tot           : " << nTriggers << std::endl;
  std::cout << "Num Active Channels: " << nActiveChannels << std::endl;
  std::cout << "Num Total Channels:  " << nTotalChannels << std::endl;
  const unsigned int nLiveDCMs = NLiveDCMs();
  std::cout << "Num DCMs           : " << nLiveDCMs << std::endl;
  for (const auto& diblock : diBlocks) {
    for (const auto& dcm : diblock.dcms) {
      if (dcm.isActive) { std::cout << "\t" << dcm.appName << std::endl; }
    }
  }
  std::cout << "Num BNEVBs         : " << bnevbs.size() << std::endl;
  for (const auto& bnevb : bnevbs) {
    std::cout << "\t" << bnevb.appName << std::endl;
  }
}

}  // namespace brio::dbi
