#pragma once

#include <memory>
#include <optional>
#include <string>

#include <libpq-fe.h>

#include "database/Table.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Runs one hand-written statement through the connection of a table that was set up for the hardware
/// database (SetDetector, SetTableType(2), SetTimeQueries).
/// \return the result of a statement that returned rows (perhaps none), which the caller frees with PQclear,
///         with the table's connection left open; null when connecting, sending or the statement failed, or
///         when the statement is not one that returns rows. A failure is logged at error severity, category
///         "RunHistory", and closes the connection. Throws nothing.
/// \param columns  how many the rows must have: the loaders say it, since an answer with fewer has no value
///                 where they look for one. Other rows are a failed statement; 0 takes any
BRIO_EXPORT PGresult* PerformPGQuery(const std::string& query, Table& table, int columns = 0);

/// The same for a reader who does not need libpq's form of the rows. \return false after a failure, with no
/// rows
BRIO_EXPORT bool PerformPGQuery(const std::string& query, Table& table, Rows& rows, int columns = 0);

/// The same for rows too many to keep: gives them to `take` as they arrive.
/// \return how many there were; nothing after a failure, which may come after some rows were given
BRIO_EXPORT std::optional<int> PerformPGQuery(const std::string& query, Table& table, const RowConsumer& take,
                                              int columns = 0);

/// The same for a consumer that a source may give what it once kept of the rows.
/// \return how many there were, or once were
BRIO_EXPORT std::optional<int> PerformPGQuery(const std::string& query, Table& table, RowDigest& digest,
                                              int columns = 0);

// std::auto_ptr was dropped from C++17 but is still there in the standard libraries that say so.
#if defined(__GLIBCXX__) || __cplusplus < 201703L || defined(_LIBCPP_ENABLE_CXX17_REMOVED_AUTO_PTR)
#define BRIO_HAS_AUTO_PTR 1
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
/// The same for a table held by the pointer type of older code. The table stays the caller's.
/// \throws cet::exception "BrioDatabase" when the pointer holds none.
BRIO_EXPORT PGresult* PerformPGQuery(const std::string& query, const std::auto_ptr<Table>& table);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
#endif

}  // namespace brio::dbi
