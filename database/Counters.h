#pragma once

#include <atomic>

namespace brio::dbi {

/// The process's counts behind ConnectionStatistics.
struct Counters {
  std::atomic<long> connectionAttempts{0};
  std::atomic<long> connectionsOpened{0};
  std::atomic<long> statementsSent{0};
  std::atomic<long> transactionsBegun{0};

  static Counters& Instance();
};

}  // namespace brio::dbi
