#pragma once

#include <functional>
#include <string>

#include "RunHistory/RunHistory.h"
#include "arrays/Loading.h"

namespace brio::tools {

using arrays::Depth;
using arrays::IsHardwareRecorded;
using arrays::LoadedParts;
using arrays::LoadHardware;
using arrays::LoadRunRecord;
using arrays::Outcome;

/// Runs a loader of the library. An exception counts as a failure; the reason is, if there is one, the first
/// complaint of a database that console::Take caught.
Outcome Attempt(const std::function<bool()>& load);

/// Loads a run up to some depth, with progress, and tells of each part how that went, as Attempt does.
LoadedParts LoadParts(brio::dbi::RunHistory& history, Depth depth);

/// "run 13000 of Birch".
std::string NameOf(const brio::dbi::RunHistory& history);

/// Tells standard error what could not be had: "runhistory: run 13000 of Birch: <what>".
void SayUnavailable(const brio::dbi::RunHistory& history, const std::string& what);

}  // namespace brio::tools
