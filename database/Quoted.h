#pragma once

#include <string>

namespace brio::dbi {

/// A name as SQL writes it when it may be any.
inline std::string Quoted(const std::string& identifier) {
  std::string quoted = "\"";
  for (const char character : identifier) {
    if (character == '"') { quoted += '"'; }
    quoted += character;
  }
  return quoted + '"';
}

}  // namespace brio::dbi
