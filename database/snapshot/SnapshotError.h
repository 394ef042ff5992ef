#pragma once

#include <stdexcept>
#include <string>

#include "framework/Export.h"

namespace brio::dbi::snapshot {

/// What is wrong inside a snapshot. It never leaves this folder: what does is a cet::exception with the
/// file's name.
class BRIO_EXPORT_PRIVATE SnapshotError : public std::runtime_error {
public:
  explicit SnapshotError(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace brio::dbi::snapshot
