#pragma once

#include <string>

namespace brio::tools {

/// A file of this folder, whose text became part of the command when it was built.
struct EmbeddedFile {
  const char* name;
  const char* sha256;  ///< of the text, hexadecimal
  const char* text;
};

/// By its name, "run.html" say. \throws std::out_of_range for another
const EmbeddedFile& PageFile(const std::string& name);

/// What a content security policy calls a text by: "'sha256-…'", the hash in base 64.
std::string PolicyHash(const EmbeddedFile& file);

}  // namespace brio::tools
