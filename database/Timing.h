#pragma once

#include <chrono>
#include <string>

#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Runs a statement; logs its wall time, at info severity, category "BrioDatabase", where the thread's scope
/// says so (LoadScope).
BRIO_EXPORT_PRIVATE ResultHandle TimedExecute(Session& session, const Statement& statement);

/// Logs, when it dies, how long making records of a statement's rows took, in the same way. What the load
/// spends at its databases meanwhile does not count.
class BRIO_EXPORT_PRIVATE ConversionTimer {
public:
  ConversionTimer(std::string what, long rows);
  ~ConversionTimer();
  ConversionTimer(const ConversionTimer&) = delete;
  ConversionTimer& operator=(const ConversionTimer&) = delete;

private:
  std::string what_;
  long rows_;
  std::chrono::steady_clock::time_point start_;
  std::chrono::steady_clock::duration spentBefore_;
};

/// The same as TimedExecute for a reader who does not need libpq's form of the rows.
BRIO_EXPORT_PRIVATE Answer TimedAsk(Session& session, const Statement& statement);

}  // namespace brio::dbi
