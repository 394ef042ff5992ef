#pragma once

#include <memory>

#include "database/snapshot/Recorder.h"

namespace brio::dbi::recording {

/// The environment variable that names a file for what the process reads.
inline constexpr const char* kRecordVariable = "BRIO_RECORD";

/// The recorder of the whole process: there is one when BRIO_RECORD names a file at the first call. It keeps
/// in memory what the process reads, the first answer of each statement, and writes the file when the process
/// ends by exit or by the end of main; the runs in it are parts (snapshot::RunState::Part). A child that was
/// forked off writes nothing. What cannot be written is one message at error severity, category
/// "BrioDatabase".
const std::shared_ptr<snapshot::Recorder>& OfProcess();

}  // namespace brio::dbi::recording
