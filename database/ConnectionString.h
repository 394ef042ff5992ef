#pragma once

#include <optional>
#include <string>

#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi {

/// The environment variable that says where the databases are.
inline constexpr const char* kDatabaseVariable = "BRIO_DATABASE";

/// The libpq connection string of a detector's database: BRIO_DATABASE, or "service=brio-{detector}" when it
/// is not set, with {detector} (in lower case) and {database} replaced. Nothing, with the reason logged at
/// error severity, when the detector's name is empty or holds anything but letters, digits, "_" and "-".
BRIO_EXPORT_PRIVATE std::optional<std::string> ExpandConnectionString(const std::string& detector,
                                                                      DatabaseKind kind);

/// The same for a given template.
BRIO_EXPORT_PRIVATE std::string ExpandTemplate(const std::string& connectionTemplate,
                                               const std::string& detector, DatabaseKind kind);

}  // namespace brio::dbi
