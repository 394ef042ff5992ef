#pragma once

#include <iosfwd>

#include "database/PlainText.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Where the lines go that loaders otherwise write to standard output, so that a program may write its own
/// answer there: to another stream, or nowhere for a null pointer. For the whole process; the stream must
/// outlive the loads, and lines of several threads come as they come. What Dump and PrintChanInfo write is an
/// answer, not progress, and stays on standard output, as warnings stay on standard error.
BRIO_EXPORT void SetProgressOutput(std::ostream* stream);

/// The stream, null for none; standard output unless it was set.
BRIO_EXPORT std::ostream* GetProgressOutput();

/// Writes one such line.
template <class... Values>
void ProgressLine(const Values&... values) {
  if (std::ostream* stream = GetProgressOutput()) { WriteLine(*stream, values...); }
}

}  // namespace brio::dbi
