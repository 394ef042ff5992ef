#pragma once

#include <string>

namespace brio::snapshot {

/// What a statement of the loaders reads, in words: "gains", "good-diblock mask". Any other statement is
/// "an answer to a statement of a client's".
std::string FactOf(const std::string& statement);

}  // namespace brio::snapshot
