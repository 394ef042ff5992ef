#pragma once

#include <vector>

#include "arrays/Channels.h"
#include "python/module/Columns.h"

namespace brio::python {

/// Channels on their way to an array that owns their records as they are.
class ChannelTable {
public:
  /// Needs no lock.
  explicit ChannelTable(arrays::Channels channels);

  /// With the interpreter's lock, and once.
  Table MakeTable();
  /// The gains that were measured, whatever the run uses; what was not measured is not a number. Likewise.
  pybind11::array MakeMeasuredGains();

private:
  std::vector<float> measured_;
  std::vector<arrays::Channel> channels_;
  std::vector<Column> columns_;
  std::vector<char> missing_;
};

}  // namespace brio::python
