// A definition file's text: a definition or an exception that names the file and the line, nothing else.
#include "database/TableDefinition.h"
#include "framework/exception.h"
#include "tests/fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using brio::fuzz::Require;
  try {
    const auto definition = brio::dbi::ParseTableDefinition(brio::fuzz::Text(data, size), "some.xml");
    Require(!definition.name.empty(), "a definition has a name");
    Require(!definition.columns.empty(), "a definition has columns");
    for (const auto& column : definition.columns) {
      Require(!column.Name().empty() && !column.Type().empty(), "a column has a name and a type");
    }
  } catch (const cet::exception& error) {
    const std::string what = error.what();
    Require(what.find("some.xml: ") != std::string::npos, "the message names the file");
    Require(what.find("line ") != std::string::npos, "the message names the line");
  }
  return 0;
}
