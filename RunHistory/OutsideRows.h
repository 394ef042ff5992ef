#pragma once

#include <string>
#include <utility>

#include "framework/MessageLogger.h"

namespace brio::dbi {

/// Counts the rows of one pass that point outside the run's topology, to say so once, at error severity.
class OutsideRows {
public:
  explicit OutsideRows(std::string operation) : operation_(std::move(operation)) {}

  void Add(const std::string& row) {
    if (count_++ == 0) { first_ = row; }
  }

  /// To be called when the pass has ended well.
  void Report() const {
    if (count_ == 0) { return; }
    LogError("RunHistory") << operation_ << ": left out " << count_
                           << (count_ == 1 ? " row that points" : " rows that point")
                           << " outside the run's detector, the first: " << first_;
  }

private:
  std::string operation_;
  int count_ = 0;
  std::string first_;
};

}  // namespace brio::dbi
