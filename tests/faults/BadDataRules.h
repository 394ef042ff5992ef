#pragma once

#include <string>

#include "RunHistory/RunHistory.h"

namespace brio::test {

/// A bad value in a column, as it stands in the table: "\\N" for NULL.
struct StoredValue {
  std::string column;
  std::string text;
};

/// Checks what a run that was asked everything makes of the value, for the columns whose values have a rule.
/// \param outcome  what came of the questions
/// \param error    what was written to standard error
void CheckRule(const StoredValue& value, dbi::RunHistory& run, const std::string& outcome,
               const std::string& error);

}  // namespace brio::test
