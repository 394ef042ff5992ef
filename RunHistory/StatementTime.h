#pragma once

#include <optional>
#include <string>

#include "database/Table.h"
#include "framework/Export.h"

namespace brio::dbi {

/// The hand-written statements hold a run's start as text, between quotes. True when the text has nothing in
/// it that a timestamp never prints; else it might change what a statement selects, and is reported at error
/// severity, category "RunHistory": the statement is not sent, and counts as one that the server refused.
BRIO_EXPORT_PRIVATE bool MayStandInStatement(const std::string& time);

/// PerformPGQuery for a statement that holds a time.
bool PerformPGQueryAt(const std::string& time, const std::string& query, Table& table, Rows& rows,
                      int columns);
/// The same by row.
std::optional<int> PerformPGQueryAt(const std::string& time, const std::string& query, Table& table,
                                    const RowConsumer& take, int columns);

}  // namespace brio::dbi
