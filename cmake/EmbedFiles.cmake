# Writes a source file that holds the texts of other files, each with its SHA-256:
#
#   cmake -DOUTPUT=file.cc -DHEADER=header.h -DFUNCTION=namespace::Function -DFILES=a;b -P EmbedFiles.cmake
#
# The header declares the function, which gives an EmbeddedFile for a name. A text must be shorter than 64 kB,
# as long as a literal may be.
set(entries "")
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  file(READ ${file} text)
  file(SHA256 ${file} hash)
  string(LENGTH "${text}" length)
  if(length GREATER 60000)
    message(FATAL_ERROR "${file} is too long for a literal")
  endif()
  string(APPEND entries "      {\"${name}\", \"${hash}\", R\"~~~(${text})~~~\"},\n")
endforeach()
string(REGEX MATCH "^(.*)::([^:]*)$" matched ${FUNCTION})
file(WRITE ${OUTPUT} "#include \"${HEADER}\"

#include <stdexcept>

namespace ${CMAKE_MATCH_1} {

const EmbeddedFile& ${CMAKE_MATCH_2}(const std::string& name) {
  static const EmbeddedFile kFiles[] = {
${entries}  };
  for (const auto& file : kFiles) {
    if (name == file.name) { return file; }
  }
  throw std::out_of_range(name);
}

}
")
