#pragma once

#include <string>

#include "RunHistory/RunHistory.h"

namespace brio::test {

/// Where two runs differ first, in words: every stored fact, diblock, DCM, board, threshold and gain. Empty
/// when they are equal. \param withEventBuilders  whether the event builders count, which a reload appends
std::string FirstDifference(const dbi::RunHistory& run, const dbi::RunHistory& expected,
                            bool withEventBuilders = true);

/// The same for two location maps.
std::string FirstDifference(const dbi::LocationMap& map, const dbi::LocationMap& expected);

}  // namespace brio::test
