#pragma once

#include <tuple>

namespace geo {

/// A channel as the offline software names it: plane and cell, both counted from 0. Ordered by plane, then
/// cell.
class OfflineChan {
public:
  explicit OfflineChan(unsigned int plane, unsigned int cell) : plane_(plane), cell_(cell) {}

  unsigned int Plane() const { return plane_; }
  unsigned int Cell() const { return cell_; }

  friend bool operator<(const OfflineChan& a, const OfflineChan& b) {
    return std::tie(a.plane_, a.cell_) < std::tie(b.plane_, b.cell_);
  }
  friend bool operator==(const OfflineChan& a, const OfflineChan& b) {
    return a.plane_ == b.plane_ && a.cell_ == b.cell_;
  }
  friend bool operator!=(const OfflineChan& a, const OfflineChan& b) { return !(a == b); }

private:
  unsigned int plane_;
  unsigned int cell_;
};

}  // namespace geo
