#pragma once

#include <string>
#include <vector>

namespace brio::test::faultserver {

/// Stops the tests' server as an operator would ("fast": it ends every connection), and starts it again.
/// Only for tests that have a server to themselves.
void Stop();
void Start();

/// Process numbers of the server's processes that serve this library, whatever its connections call
/// themselves after "brio-". \param applicationName  a regular expression
std::vector<int> Backends(const std::string& applicationName = "brio-.*");
/// Waits until the library has no connection left; false when one stays for five seconds.
bool NoConnectionStays();
/// Waits until a process is gone from the server's list.
void WaitUntilGone(int backend);
/// Ends a backend as pg_terminate_backend does, and waits until it is gone.
void Terminate(int backend);

}  // namespace brio::test::faultserver
