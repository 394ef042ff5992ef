#pragma once

#include "framework/Export.h"

namespace brio::dbi {

/// What this process has asked of databases so far. Counts only grow; compare two snapshots.
struct BRIO_EXPORT ConnectionStatistics {
  long connectionAttempts = 0;
  long connectionsOpened = 0;
  /// Statements that ask for data. The BEGIN and COMMIT around a load are not among them.
  long statementsSent = 0;
  long transactionsBegun = 0;

  /// The counts at this moment; may be called from any thread.
  static ConnectionStatistics Now();
};

}  // namespace brio::dbi
