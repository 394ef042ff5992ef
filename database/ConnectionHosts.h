#pragma once

#include <string>
#include <vector>

#include "database/ConnectionOptions.h"
#include "framework/Export.h"

namespace brio::dbi {

/// One entry of a connection string's lists; what is empty is left to libpq.
struct ConnectionHost {
  std::string host;     ///< a name, a numeric address, or a folder of Unix sockets
  std::string address;  ///< numeric, for `host` not to be looked up
  std::string port;
};

/// The hosts that a connection tries, in this order. Lists that do not match each other give one entry with
/// nothing in it: libpq then says what is wrong.
BRIO_EXPORT_PRIVATE std::vector<ConnectionHost> HostsOf(const OptionsHandle& options);

/// The numeric addresses of a host: its own if it has one, else what its name stands for. One that needs none
/// (a Unix socket, or libpq's default) comes back as it is. Waits for the name service as long as that takes.
/// \param complaint  why there are none
BRIO_EXPORT_PRIVATE std::vector<ConnectionHost> AddressesOf(const ConnectionHost& host,
                                                            std::string& complaint);

/// Puts a list in an order of chance where load_balance_hosts asks for it, which libpq cannot do when it is
/// given one address at a time.
BRIO_EXPORT_PRIVATE void BalanceLoad(const OptionsHandle& options, std::vector<ConnectionHost>& list);

/// The target_session_attrs of each pass over the hosts: "prefer-standby" makes two, others one, for which ""
/// leaves the option as it is.
BRIO_EXPORT_PRIVATE std::vector<std::string> PassesOver(const OptionsHandle& options);

}  // namespace brio::dbi
