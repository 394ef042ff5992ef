#pragma once

#include "database/Result.h"

namespace brio::dbi {

/// Whether a statement went well, with rows or without.
bool IsGood(const PGresult* result);
bool IsCopy(const PGresult* result);
/// Whether the server's code says that the same statement, sent again, may well succeed: a serialization
/// failure, a deadlock, or a server that is being shut down or has crashed.
bool IsInterruption(const PGresult* result);
/// Whether a result, if it holds rows, holds rows of so many columns; 0 stands for any number.
bool HasColumns(const PGresult* result, int columns);
/// A failure of our own.
ResultHandle FatalResult();

}  // namespace brio::dbi
