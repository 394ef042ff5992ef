#pragma once

#include <cstddef>
#include <functional>

#include "database/RowView.h"
#include "experiment/embedded/DCMIndex.h"

namespace dbutils::daqconfig {

constexpr const char* kCategory = "DAQConfiguration";

/// Stores what a row holds of the DCM at a position of the index. False when the row holds nothing usable.
using StoreDCM = std::function<bool(const brio::dbi::RowView& row, std::size_t position)>;

/// Reads a table of the DAQ configuration in which each DCM has one row, its name in front. A configuration
/// that exists but has no rows in the table gives one of NULLs; other DCMs than the index's are passed over.
/// \param columns  of the statement
/// \param what     the rows hold, as a message names it
/// \return true when there was a usable row for each of the index's DCMs; else the reason is logged
bool ReadPacked(const char* statement, int columns, long long configId, const char* what, FoundDCMs& dcms,
                const StoreDCM& store);

}  // namespace dbutils::daqconfig
