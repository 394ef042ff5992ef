#pragma once

#include <optional>
#include <string>

#include "database/Session.h"
#include "framework/Export.h"

namespace brio::dbi {

/// The environment variable that says where the databases are.
inline constexpr const char* kDatabaseVariable = "BRIO_DATABASE";

/// The libpq connection string of a detector's database: that of the thread's ScopedDatabase, or
/// BRIO_DATABASE, or "service=brio-{detector}" when it is not set, with {detector} (in lower case) and
/// {database} replaced. Nothing, with the reason logged at error severity, when the detector's name is empty
/// or holds anything but letters, digits, "_" and "-".
BRIO_EXPORT_PRIVATE std::optional<std::string> ExpandConnectionString(const std::string& detector,
                                                                      DatabaseKind kind);

/// Whether anything says where the databases are: a ScopedDatabase of the thread, or BRIO_DATABASE.
BRIO_EXPORT_PRIVATE bool IsDatabaseSet();

/// While one lives, the calling thread's loads reach their databases by this template in place of
/// BRIO_DATABASE. Scopes nest; the inner one holds. Made and destroyed outside all loads.
class BRIO_EXPORT_PRIVATE ScopedDatabase {
public:
  /// \param connectionTemplate  in the form of BRIO_DATABASE
  explicit ScopedDatabase(std::string connectionTemplate);
  ~ScopedDatabase();
  ScopedDatabase(const ScopedDatabase&) = delete;
  ScopedDatabase& operator=(const ScopedDatabase&) = delete;

private:
  std::optional<std::string> before_;
};

/// The same for a given template.
BRIO_EXPORT_PRIVATE std::string ExpandTemplate(const std::string& connectionTemplate,
                                               const std::string& detector, DatabaseKind kind);

}  // namespace brio::dbi
