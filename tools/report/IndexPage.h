#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/report/RunReport.h"

namespace brio::tools {

/// One run in an index: what its row and its points in the trends show.
struct IndexedRun {
  int run = 0;
  std::string file;   ///< its page
  std::string start;  ///< "2014-06-10 03:00:00"; empty when it is not recorded
  std::string type;
  std::optional<double> duration;  ///< seconds
  std::optional<double> pot;
  std::optional<double> goodDiBlocks;
  std::optional<double> enabled;  ///< boards, as `history enabled --detector-mean` counts them
  std::optional<double> threshold;
  std::optional<double> gain;
  std::optional<double> voltage;
  std::optional<double> temperature;
  std::size_t unusual = 0;  ///< kinds of unusual things
};

IndexedRun Indexed(const RunReport& report, const std::string& file);

/// The page that leads to the pages of runs: a table and trends.
std::string IndexPage(const std::string& detector, const std::vector<IndexedRun>& runs);

}  // namespace brio::tools
