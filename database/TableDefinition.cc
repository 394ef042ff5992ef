#include "database/TableDefinition.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <pugixml.hpp>

#include "database/SearchPath.h"
#include "framework/exception.h"

namespace brio::dbi {
namespace {

constexpr std::uintmax_t kLargestFile = 1U << 20U;
// What a PostgreSQL table can have.
constexpr std::size_t kMostColumns = 1600;
constexpr std::array kTypes{"integer", "bigint",  "smallint", "real",     "double precision",
                            "text",    "boolean", "bool",     "timestamp"};

cet::exception Error(const std::string& file) { return cet::exception("BrioDatabase") << file << ": "; }

/// Reports what is wrong at a place of the text, by line.
class Place {
public:
  Place(const std::string& text, const std::string& file) : text_(text), file_(file) {}

  cet::exception Error(std::ptrdiff_t offset) const {
    const auto end =
        text_.begin() + std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text_.size()));
    const auto line = 1 + std::count(text_.begin(), end, '\n');
    return dbi::Error(file_) << "line " << line << ": ";
  }

private:
  const std::string& text_;
  const std::string& file_;
};

ColumnDef ReadColumn(const pugi::xml_node& node, const Place& place) {
  if (std::strcmp(node.name(), "column") != 0) {
    throw place.Error(node.offset_debug()) << "<" << node.name() << "> stands where only <column> may stand";
  }
  const std::string name = node.attribute("name").value();
  const std::string type = node.attribute("type").value();
  if (name.empty()) { throw place.Error(node.offset_debug()) << "a column has no name"; }
  if (std::find(kTypes.begin(), kTypes.end(), type) == kTypes.end()) {
    throw place.Error(node.offset_debug())
        << "column \"" << name << "\" has "
        << (type.empty() ? std::string("no type") : "the unknown type \"" + type + "\"");
  }
  return ColumnDef(type, name);
}

std::string FindFile(const std::string& path) {
  const std::filesystem::path given(path);
  std::error_code ignored;
  if (given.is_absolute()) {
    if (std::filesystem::is_regular_file(given, ignored)) { return path; }
    throw Error(path) << "there is no such table-definition file";
  }
  std::string tried;
  for (const auto& folder : SearchFolders()) {
    const auto candidate = std::filesystem::path(folder) / given;
    if (std::filesystem::is_regular_file(candidate, ignored)) { return candidate.string(); }
    tried += (tried.empty() ? "" : ", ") + folder;
  }
  throw Error(path) << "there is no such table-definition file in any of: " << tried
                    << "; BRIO_SEARCH_PATH names further folders";
}

}  // namespace

TableDefinition ParseTableDefinition(const std::string& text, const std::string& file) {
  const Place place(text, file);
  pugi::xml_document document;
  const auto parsed = document.load_buffer(text.data(), text.size());
  if (!parsed) { throw place.Error(parsed.offset) << "not a table definition: " << parsed.description(); }
  const auto root = document.document_element();
  if (std::strcmp(root.name(), "table") != 0) {
    throw place.Error(root.offset_debug())
        << "not a table definition: the document is <" << root.name() << ">, not <table>";
  }
  TableDefinition definition{file, root.attribute("schema").value(), root.attribute("name").value(), {}};
  if (definition.name.empty()) { throw place.Error(root.offset_debug()) << "the table has no name"; }
  for (const auto& node : root.children()) {
    if (node.type() != pugi::node_element) { continue; }
    if (definition.columns.size() == kMostColumns) {
      throw place.Error(node.offset_debug()) << "more than " << kMostColumns << " columns";
    }
    ColumnDef column = ReadColumn(node, place);
    const bool known = std::any_of(definition.columns.begin(), definition.columns.end(),
                                   [&](const ColumnDef& other) { return other.Name() == column.Name(); });
    if (known) {
      throw place.Error(node.offset_debug()) << "column \"" << column.Name() << "\" stands twice";
    }
    definition.columns.push_back(std::move(column));
  }
  if (definition.columns.empty()) { throw place.Error(root.offset_debug()) << "the table has no columns"; }
  return definition;
}

TableDefinition ReadTableDefinition(const std::string& path) {
  const std::string file = FindFile(path);
  std::error_code error;
  const auto size = std::filesystem::file_size(file, error);
  if (!error && size > kLargestFile) {
    throw Error(file) << "too large for a table definition (" << size << " bytes; at most " << kLargestFile
                      << ")";
  }
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  if (!stream) { throw Error(file) << "cannot be read: " << std::strerror(errno); }
  return ParseTableDefinition(text.str(), file);
}

}  // namespace brio::dbi
