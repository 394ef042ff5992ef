#include "tests/faults/UnixSockets.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace brio::test::unixsocket {
namespace {

sockaddr_un Address(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) { throw std::runtime_error("socket path too long: " + path); }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

}  // namespace

int Listen(const std::string& path) {
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = Address(path);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  if (bind(listening, generic, sizeof(address)) != 0 || listen(listening, 64) != 0) {
    throw std::runtime_error("cannot listen at " + path);
  }
  return listening;
}

int ConnectTo(const std::string& path) {
  const int connected = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_un address = Address(path);
  if (connect(connected, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    return connected;
  }
  close(connected);
  return -1;
}

std::string MakeFolder() {
  std::string pattern = "/tmp/brio-proxy-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) { throw std::runtime_error("cannot make a folder"); }
  return pattern;
}

}  // namespace brio::test::unixsocket
