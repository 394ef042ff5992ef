#pragma once

#include <functional>
#include <string>

#include "framework/Export.h"

namespace brio::dbi {

/// What the process is about to do with a database.
enum class DatabaseStep { Connect, Begin, Statement, Commit };

/// Called just before each step; the text is the statement's. For tests that act between two steps.
using StepObserver = std::function<void(DatabaseStep, const std::string&)>;

/// Sets the process's observer; an empty function removes it.
BRIO_EXPORT_PRIVATE void SetStepObserver(StepObserver observer);
void NotifyStep(DatabaseStep step, const std::string& text);

}  // namespace brio::dbi
