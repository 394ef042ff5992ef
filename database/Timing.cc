#include "database/Timing.h"

#include <utility>

#include "database/LoadScopeSessions.h"
#include "framework/MessageLogger.h"

namespace brio::dbi {
namespace {

using Clock = std::chrono::steady_clock;

double Milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

}  // namespace

ResultHandle TimedExecute(Session& session, const Statement& statement) {
  const auto start = Clock::now();
  ResultHandle result = session.Execute(statement);
  if (loadscope::TimesQueries()) {
    LogInfo("BrioDatabase") << "query took " << Milliseconds(Clock::now() - start)
                            << " ms: " << statement.text;
  }
  return result;
}

ConversionTimer::ConversionTimer(std::string what, long rows)
    : what_(std::move(what)), rows_(rows), start_(Clock::now()), spentBefore_(loadscope::TimeSpent()) {}

ConversionTimer::~ConversionTimer() {
  if (!loadscope::TimesParsing()) { return; }
  const auto spent = loadscope::TimeSpent() - spentBefore_;
  try {
    LogInfo("BrioDatabase") << "converting " << rows_ << " rows of " << what_ << " took "
                            << Milliseconds(Clock::now() - start_ - spent) << " ms";
  } catch (...) {  // NOLINT(bugprone-empty-catch): a time that is not told is no failure
  }
}

Answer TimedAsk(Session& session, const Statement& statement) {
  const auto start = Clock::now();
  Answer answer = session.Ask(statement);
  if (loadscope::TimesQueries()) {
    const std::chrono::duration<double, std::milli> took = Clock::now() - start;
    LogInfo("BrioDatabase") << "query took " << took.count() << " ms: " << statement.text;
  }
  return answer;
}

}  // namespace brio::dbi
