#pragma once

#include <cstdint>

namespace brio::dbi {

/// Start and stop of a subrun in seconds since 1970. The loaders leave both 0.
struct Subrun {
  std::int64_t tStart = 0;
  std::int64_t tStop = 0;
};

}  // namespace brio::dbi
