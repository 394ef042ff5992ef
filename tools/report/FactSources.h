#pragma once

#include <string>
#include <vector>

namespace brio::tools {

/// Where a page's facts come from, in a line.
struct FactSource {
  std::string label;
  std::string text;
};

/// The databases or the snapshot that answer about a run, each once, with their versions; this library's; and
/// the time. Call inside the load whose facts they are. Nobody is asked about a simulated run.
std::vector<FactSource> SourcesOf(const std::string& detector, int run);

}  // namespace brio::tools
