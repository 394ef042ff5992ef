#include "RunHistory/FreshTry.h"

#include <atomic>

#include "RunHistory/Pause.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

std::atomic<long> count{0};

}  // namespace

long FreshTries() { return count; }

void freshtry::Announce(int run, const std::string& detectorName) {
  LogInfo("RunHistory") << "run " << run << " of " << detectorName
                        << ": the connection was lost or the server called a statement off; the load begins "
                           "afresh";
  ++count;
  PauseBriefly();
}

}  // namespace brio::dbi
