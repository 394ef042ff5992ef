#pragma once

#include <optional>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>

#include "RunHistory/RunHistory.h"
#include "python/module/Turn.h"

namespace brio::python {

/// How a run is loaded; see RunHistory's settings.
struct RunSettings {
  bool useMask = false;
  bool analysisMask = false;
  std::optional<int> customMask;
  int retries = 0;
  /// Whether a configuration or settings that could not be read are a failure. Else what is missing has its
  /// status.
  bool isIncompleteFailure = false;
};

/// A run with these settings. \throws std::invalid_argument for a detector that there is not
dbi::RunHistory MakeRun(const std::string& detector, int number, const RunSettings& settings);

/// Loads a run whole. \return a dictionary: "boards" and "channels" as pairs of an array and what is missing
/// in it, "measured_gain" as an array; and for the summary "simulated", "diblocks", "dcms", "event_builders"
/// (names); "incomplete" has a sentence for every part that could not be read
pybind11::dict LoadRun(const Circumstances& circumstances, const std::string& detector, int number,
                       const RunSettings& settings);

}  // namespace brio::python
