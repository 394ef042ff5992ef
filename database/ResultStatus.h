#pragma once

#include "database/Result.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Whether a statement went well, with rows or without.
BRIO_EXPORT_PRIVATE bool IsGood(const PGresult* result);
BRIO_EXPORT_PRIVATE bool IsCopy(const PGresult* result);
/// Whether the server's code says that the same statement, sent again, may well succeed: a serialization
/// failure, a deadlock, or a server that is being shut down or has crashed.
BRIO_EXPORT_PRIVATE bool IsInterruption(const PGresult* result);
/// Whether a result, if it holds rows, holds rows of so many columns; 0 stands for any number.
BRIO_EXPORT_PRIVATE bool HasColumns(const PGresult* result, int columns);
/// A failure of our own.
BRIO_EXPORT_PRIVATE ResultHandle FatalResult();

}  // namespace brio::dbi
