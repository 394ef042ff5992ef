#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace brio::fuzz {

/// Ends the run as a finding when something that must hold does not.
inline void Require(bool holds, const char* what) {
  if (holds) { return; }
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

inline std::string Text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace brio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
