#include "database/RetryPause.h"

#include <algorithm>

namespace brio::dbi {
namespace {

constexpr std::chrono::duration<double> kFirst{0.2};
constexpr std::chrono::duration<double> kLongest{5.0};

}  // namespace

std::chrono::duration<double> RetryPause(int attempt, double chance) {
  auto longest = kFirst;
  for (int i = 1; i < attempt && longest < kLongest; ++i) {
    longest *= 2;
  }
  return std::min(longest, kLongest) * (0.5 + 0.5 * chance);
}

}  // namespace brio::dbi
