#pragma once

#include "framework/Export.h"

namespace brio::dbi {

/// For a program that asks about many runs, one after the other. While one lives, a load of the calling
/// thread that ends commits its transactions and leaves its connections to the thread's next load, which
/// reads on them in transactions of its own. What a load could not connect to, it does not try again; the
/// reason is logged again. Not to be nested, and made and destroyed outside all loads; its end closes what
/// was kept.
class BRIO_EXPORT KeptConnections {
public:
  /// \param retries  how often a load tries again to connect, after a failure that can pass, when what loads
  ///                 does not ask for more
  explicit KeptConnections(int retries = 0);
  ~KeptConnections();
  KeptConnections(const KeptConnections&) = delete;
  KeptConnections& operator=(const KeptConnections&) = delete;
};

}  // namespace brio::dbi
