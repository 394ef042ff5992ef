#include "database/ConnectionStatistics.h"

#include "database/Counters.h"

namespace brio::dbi {

Counters& Counters::Instance() {
  static Counters counters;
  return counters;
}

ConnectionStatistics ConnectionStatistics::Now() {
  const Counters& counters = Counters::Instance();
  return {counters.connectionAttempts, counters.connectionsOpened, counters.statementsSent,
          counters.transactionsBegun};
}

}  // namespace brio::dbi
