# Compile settings that every target of this project shares, and the one way a folder becomes a library.

add_library(brio_compile_settings INTERFACE)
target_compile_options(brio_compile_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${BRIO_WARNINGS_AS_ERRORS}>:-Werror>)
if(NOT BRIO_SANITIZE STREQUAL "")
  target_compile_options(brio_compile_settings INTERFACE
    -fsanitize=${BRIO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(brio_compile_settings INTERFACE -fsanitize=${BRIO_SANITIZE})
endif()

# The version of the libraries' interface, which is that of their sonames and symbols: until 1.0 each minor version has
# one of its own.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(BRIO_INTERFACE_VERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(BRIO_INTERFACE_VERSION ${PROJECT_VERSION_MAJOR})
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/exports.map.in ${PROJECT_BINARY_DIR}/exports.map @ONLY)

# brio_library(<name> HEADERS <public headers...> SOURCES <files...> [PUBLIC <libs...>] [PRIVATE <libs...>])
# makes the shared library brio::<name> out of the current folder; headers are included as "<folder>/<file>".
# Shared only: what a library finds beside itself, and what exists once in a process, would not survive being
# linked into several others. It exports what its headers mark (framework/Export.h).
function(brio_library name)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(brio_${name} SHARED ${ARG_SOURCES})
  add_library(brio::${name} ALIAS brio_${name})
  set_target_properties(brio_${name} PROPERTIES
    EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${BRIO_INTERFACE_VERSION}
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON LINK_DEPENDS ${PROJECT_BINARY_DIR}/exports.map
    INSTALL_RPATH "$ORIGIN")
  target_sources(brio_${name} PUBLIC FILE_SET HEADERS
    BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${ARG_HEADERS})
  target_compile_features(brio_${name} PUBLIC cxx_std_17)
  target_compile_options(brio_${name} PRIVATE -fno-semantic-interposition
    $<$<BOOL:${BRIO_BUILD_FUZZERS}>:-fsanitize=fuzzer-no-link>  # what the fuzzer is guided by
    $<$<BOOL:${BRIO_FULL_DEBUG_LIBRARIES}>:-g2>)
  target_link_options(brio_${name} PRIVATE LINKER:--version-script=${PROJECT_BINARY_DIR}/exports.map)
  target_link_libraries(brio_${name}
    PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} $<BUILD_INTERFACE:brio_compile_settings>)
  set_property(GLOBAL APPEND PROPERTY BRIO_INSTALLED_TARGETS brio_${name})
endfunction()

# brio_site_library(<name> <target>) lets a site's own target stand where brio::<name> would.
function(brio_site_library name target)
  add_library(brio_${name} INTERFACE)
  add_library(brio::${name} ALIAS brio_${name})
  set_target_properties(brio_${name} PROPERTIES EXPORT_NAME ${name})
  target_link_libraries(brio_${name} INTERFACE ${target})
  set_property(GLOBAL APPEND PROPERTY BRIO_INSTALLED_TARGETS brio_${name})
endfunction()
