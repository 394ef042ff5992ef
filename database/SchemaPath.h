#pragma once

#include <string>

namespace brio::dbi {

/// The schemas in which names without a schema are looked for, as a list of SQL: the server's own before
/// those that BRIO_SCHEMA_PATH names ("public" unless set), temporary ones last. A setting with a name that
/// would change with the role ("$user") or with the session (pg_temp), or with an empty one, is warned of
/// and not used.
std::string SchemaPath();

}  // namespace brio::dbi
