#pragma once

#include <string>
#include <string_view>

#include "database/RowView.h"
#include "framework/Export.h"

namespace brio::dbi {

/// A consumer of rows that keeps much less of them than they are, and can be given what it kept in their
/// place: so a source that is no server need not hold the rows.
class BRIO_EXPORT RowDigest {
public:
  RowDigest() = default;
  virtual ~RowDigest() = default;
  RowDigest(const RowDigest&) = delete;
  RowDigest& operator=(const RowDigest&) = delete;

  /// Takes one row, as a RowConsumer does.
  virtual void Take(const RowView& row) = 0;
  /// What is kept and in which form: bytes are only ever given back under the name that they had.
  virtual std::string Name() const = 0;
  /// All that was kept of the rows taken so far, to the bit.
  virtual std::string Bytes() const = 0;
  /// Becomes what gave these bytes. \return false, with nothing kept, when they are not of that form
  virtual bool Restore(std::string_view bytes) = 0;
};

}  // namespace brio::dbi
