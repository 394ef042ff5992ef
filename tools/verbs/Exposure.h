#pragma once

#include <optional>
#include <string>
#include <vector>

#include "arrays/Runs.h"
#include "tools/shared/Options.h"

namespace brio::tools {

/// What one run adds to an exposure, or why nothing.
struct RunExposure {
  int run = 0;
  std::optional<float> pot;           ///< protons on target
  std::optional<long long> liveTime;  ///< seconds from start to stop
  std::optional<int> goodDiBlocks;  ///< how many are good; nothing for the near detector, which has no masks
  std::string reason;               ///< why it is left out; empty when it is counted

  bool IsCounted() const { return reason.empty(); }
};

/// The runs of an exposure, and what those that are counted add up to.
struct Exposure {
  std::vector<RunExposure> runs;
  int counted = 0;
  double pot = 0;
  long long liveTime = 0;
  /// Good diblocks of the mean proton on target; nothing without any, and where no mask is kept.
  std::optional<double> meanGoodDiBlocks;
};

/// A run is counted when its protons on target and its times are known, and, but for the near detector, when
/// a diblock is good by the stored mask, the custom one or what the analysis rule leaves of the stored one.
/// \param lines      asked for with protons on target and masks
/// \param complaint  of the database, if something could not be read
Exposure ExposureOf(const std::vector<arrays::RunLine>& lines, const Options& options,
                    const std::string& complaint);

}  // namespace brio::tools
