#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "tests/database/Fixtures.h"

namespace brio::test {

/// A Unix socket that lets clients connect and never answers, named as a server's is.
class SilentHost {
public:
  SilentHost() : socket_(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder_.Path() + "/.s.PGSQL.5432";
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(socket_, 8) != 0) {
      throw std::runtime_error("no socket could be made in " + folder_.Path());
    }
  }
  ~SilentHost() { close(socket_); }
  SilentHost(const SilentHost&) = delete;
  SilentHost& operator=(const SilentHost&) = delete;

  const std::string& Folder() const { return folder_.Path(); }
  const TemporaryFolder& FolderObject() const { return folder_; }

private:
  TemporaryFolder folder_;
  int socket_;
};

}  // namespace brio::test
