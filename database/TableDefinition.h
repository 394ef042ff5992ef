#pragma once

#include <string>
#include <vector>

#include "database/ColumnDef.h"
#include "framework/Export.h"

namespace brio::dbi {

/// What a definition file says of a table.
struct TableDefinition {
  std::string file;    ///< where it was found
  std::string schema;  ///< may be empty: the server's search path decides
  std::string name;
  std::vector<ColumnDef> columns;
};

/// Reads a definition file, `<table schema="…" name="…"><column name="…" type="…"/>…</table>`, at a path that
/// is absolute or relative to the search path. \throws cet::exception "BrioDatabase" naming the file, the
/// line and what is wrong.
BRIO_EXPORT_PRIVATE TableDefinition ReadTableDefinition(const std::string& path);

/// The same for the file's text; `file` is the name that messages use.
BRIO_EXPORT_PRIVATE TableDefinition ParseTableDefinition(const std::string& text, const std::string& file);

}  // namespace brio::dbi
