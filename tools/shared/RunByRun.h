#pragma once

#include <functional>
#include <iosfwd>

#include "tools/shared/Format.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {

/// Answers for one run: writes text, or fills the JSON object, which has the detector and the run already.
/// \return false when the run or its data could not be had, which it has told standard error; what it has
/// written is shown all the same
using RunAnswer = std::function<bool(brio::dbi::RunHistory& history, std::ostream& text, Json& object)>;

/// Answers for the run or the runs of `--run`, one after the other. In JSON one run is an object, a range an
/// array. A run of a range that could not be answered does not end it: the status is that of success when any
/// run was answered.
ExitStatus AnswerRunByRun(const Options& options, const RunAnswer& answer);

}  // namespace brio::tools
