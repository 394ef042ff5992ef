#pragma once

#include <string>

#include "database/ConnectionOptions.h"
#include "framework/Export.h"

namespace brio::dbi {

/// Whether libpq understands the string, and each piece of it for what it is. Its own complaints about one
/// that it does not may quote pieces, a password among them, and are not passed on.
BRIO_EXPORT_PRIVATE bool IsReadable(const std::string& connectionString);

/// Whether a password seems to stand where libpq and the server show what they are given: in the place of a
/// host, a port, a user or a database.
bool ShowPassword(const OptionsHandle& options);

}  // namespace brio::dbi
