#pragma once

#include <memory>

#include "tests/faults/CuttingProxy.h"
#include "tests/faults/FaultedLoads.h"

namespace brio::test::faults {

/// The backend that is about to be asked is ended.
Fault BackendTerminated();
/// The backend stops answering and stays (SIGSTOP), in a load with a query time-out of five seconds.
Fault BackendFrozen();
/// The server is stopped; it is started again when the fault is removed.
Fault ServerStopped();
/// The server is stopped and started again at once.
/// \param fourConnections  whether the load has a connection for each kind of fact: each is found lost by the
///                         next statement on it
Fault ServerRestarted(bool fourConnections);
/// No connection slot is free.
Fault SlotsUsedUp();
/// The right to read the step's table is taken away.
Fault PermissionTaken(const std::string& database);
/// The step's table, or a column of it, is no longer there under its name.
Fault TableGone(const std::string& database);
Fault ColumnGone(const std::string& database);
/// The backend is ended, or its statement cancelled, while it works on the step's statement. The database
/// must have been prepared with a Gate.
Fault TerminatedWhileRunning(const std::string& database);
Fault CancelledWhileRunning(const std::string& database);
/// The connection is cut after a share of the step's answer: 0 for its first byte, 1 for all but the last.
Fault CutDuringAnswer(const std::shared_ptr<CuttingProxy>& proxy, const std::vector<long>& bytesOfSteps,
                      double share);
/// The server accepts the connection and then says nothing.
Fault SilentWhileConnecting(const std::shared_ptr<CuttingProxy>& proxy);

/// Lets a statement on any of the tables wait once it runs in a database, while it lives.
class Gate {
public:
  explicit Gate(std::string database);
  ~Gate();
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

private:
  std::string database_;
};

}  // namespace brio::test::faults
