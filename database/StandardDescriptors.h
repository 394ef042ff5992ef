#pragma once

#include "framework/Export.h"

namespace brio::dbi {

/// Keeps new descriptors away from the numbers of standard input, output and error: as long as one of these
/// lives, each of the three that was closed is taken by a placeholder, which can neither be read nor written,
/// just as if it were still closed. A socket in such a place would receive what the process prints.
class BRIO_EXPORT_PRIVATE StandardDescriptorsTaken {
public:
  StandardDescriptorsTaken();
  ~StandardDescriptorsTaken();
  StandardDescriptorsTaken(const StandardDescriptorsTaken&) = delete;
  StandardDescriptorsTaken& operator=(const StandardDescriptorsTaken&) = delete;
};

}  // namespace brio::dbi
