#pragma once

#include <chrono>

namespace brio::dbi {

/// How long this process waits for a database; std::chrono::seconds::max() stands for ever.
struct TimeLimits {
  /// Without a byte from the server: BRIO_QUERY_TIMEOUT, 300 s unless set.
  std::chrono::seconds silence;
  /// For all that one load does at its databases, or for one statement outside a load: BRIO_LOAD_TIMEOUT,
  /// twice the other unless set.
  std::chrono::seconds load;

  /// As the environment has them now. A setting that is no number of seconds is warned of and not used.
  static TimeLimits FromEnvironment();
};

}  // namespace brio::dbi
