#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "arrays/Runs.h"
#include "tools/shared/Format.h"
#include "tools/verbs/Verb.h"

namespace brio::tools {

/// Answers for one run: writes text, or fills the JSON object, which has the detector and the run already.
/// \return why the run or its data could not be had, empty when they could; what was written is shown all the
/// same
using RunAnswer =
    std::function<std::string(brio::dbi::RunHistory& history, std::ostream& text, Json& object)>;
/// The same from a run's line of the runs table, for which nothing of the run need be loaded. Of a simulated
/// run the line has the number only.
using LineAnswer = std::function<std::string(const arrays::RunLine& line, std::ostream& text, Json& object)>;

/// Answers for the run or the runs of `--run`, one after the other. A range is that of the runs that the runs
/// table has, which is asked once; numbers that it does not have are told in one line. In JSON one run is an
/// object, a range an array, in which a run that could not be answered has its reason. Such a run does not
/// end a range: the status is that of success when any run was answered.
ExitStatus AnswerRunByRun(const Options& options, const RunAnswer& answer);
ExitStatus AnswerLineByLine(const Options& options, const arrays::RunSelection& selection,
                            const LineAnswer& answer);

}  // namespace brio::tools
