#include "experiment/embedded/ConfigurationQuery.h"

#include <cstdlib>
#include <string>

#include "database/Timing.h"
#include "framework/MessageLogger.h"

namespace dbutils {

std::optional<brio::dbi::Rows> QueryConfiguration(brio::dbi::DatabaseKind database, const char* category,
                                                  const char* statement, int columns, long long configId) {
  constexpr const char* kDetectorVariable = "BRIODAQ_ENVIRONMENT";
  const char* detector = std::getenv(kDetectorVariable);
  if (detector == nullptr || *detector == '\0') {
    brio::LogError(category) << "the environment variable " << kDetectorVariable
                             << " does not name a detector";
    return std::nullopt;
  }
  const auto session = brio::dbi::AcquireSession(detector, database, 0);
  if (!session) { return std::nullopt; }
  return brio::dbi::TimedAsk(*session, {statement, {std::to_string(configId)}, true, columns}).rows;
}

}  // namespace dbutils
