#include "database/ConnectionHosts.h"

#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>

namespace brio::dbi {
namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

/// Unlike a stream, it does not lose an empty part at the end.
std::vector<std::string> SplitAtCommas(const std::string& list) {
  std::vector<std::string> parts{""};
  for (const char character : list) {
    if (character == ',') {
      parts.emplace_back();
    } else {
      parts.back() += character;
    }
  }
  return parts;
}

bool IsLookedUp(const ConnectionHost& host) {
  const bool isSocket = !host.host.empty() && (host.host.front() == '/' || host.host.front() == '@');
  return host.address.empty() && !host.host.empty() && !isSocket;
}

}  // namespace

std::vector<ConnectionHost> HostsOf(const OptionsHandle& options) {
  const std::string hostList = OptionValue(options, "host");
  const std::string addressList = OptionValue(options, "hostaddr");
  const auto hosts = SplitAtCommas(hostList);
  const auto addresses = SplitAtCommas(addressList);
  const auto ports = SplitAtCommas(OptionValue(options, "port"));
  const std::size_t count = addressList.empty() ? hosts.size() : addresses.size();
  const bool match =
      (hostList.empty() || hosts.size() == count) && (ports.size() == 1 || ports.size() == count);
  if (!match) { return {ConnectionHost{}}; }
  std::vector<ConnectionHost> all(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (!hostList.empty()) { all[i].host = hosts[i]; }
    if (!addressList.empty()) { all[i].address = addresses[i]; }
    all[i].port = ports.size() == 1 ? ports.front() : ports[i];
    // An empty entry of a list means libpq's default, not the value of the whole list.
    if (ports.size() > 1 && all[i].port.empty()) { all[i].port = DefaultPort(); }
    if (count > 1 && all[i].host.empty()) {
      all[i].host = all[i].address.empty() ? DefaultHost() : all[i].address;
    }
  }
  return all;
}

std::vector<ConnectionHost> AddressesOf(const ConnectionHost& host, std::string& complaint) {
  if (!IsLookedUp(host)) { return {host}; }
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* first = nullptr;
  const int error = getaddrinfo(host.host.c_str(), nullptr, &wanted, &first);
  const AddressList list(first, &freeaddrinfo);
  std::vector<ConnectionHost> all;
  for (const addrinfo* address = list.get(); error == 0 && address != nullptr; address = address->ai_next) {
    std::array<char, NI_MAXHOST> text{};
    if (getnameinfo(address->ai_addr, address->ai_addrlen, text.data(), text.size(), nullptr, 0,
                    NI_NUMERICHOST) == 0) {
      all.push_back({host.host, text.data(), host.port});
    }
  }
  if (all.empty()) {
    complaint = "could not translate host name \"" + host.host +
                "\" to address: " + gai_strerror(error != 0 ? error : EAI_NONAME);
  }
  return all;
}

void BalanceLoad(const OptionsHandle& options, std::vector<ConnectionHost>& list) {
  if (OptionValue(options, "load_balance_hosts") != "random") { return; }
  thread_local std::minstd_rand generator{std::random_device{}()};
  std::shuffle(list.begin(), list.end(), generator);
}

std::vector<std::string> PassesOver(const OptionsHandle& options) {
  if (OptionValue(options, "target_session_attrs") == "prefer-standby") { return {"standby", "any"}; }
  return {""};
}

}  // namespace brio::dbi
