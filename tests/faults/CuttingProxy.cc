#include "tests/faults/CuttingProxy.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>
#include <vector>

#include "tests/faults/UnixSockets.h"

namespace brio::test {
namespace {

constexpr int kPollMilliseconds = 20;

void CloseAll(std::vector<int>& sockets) {
  for (const int socket : sockets) {
    close(socket);
  }
  sockets.clear();
}

}  // namespace

CuttingProxy::CuttingProxy(const std::string& serverSocketFolder) {
  folder_ = unixsocket::MakeFolder();
  const int listening = unixsocket::Listen(folder_ + "/.s.PGSQL.5432");
  thread_ = std::thread(
      [this, listening, server = serverSocketFolder + "/.s.PGSQL.5432"] { Serve(listening, server); });
}

CuttingProxy::~CuttingProxy() {
  ending_ = true;
  thread_.join();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void CuttingProxy::Serve(int listening, const std::string& serverSocket) {
  std::vector<std::pair<int, int>> pairs;  // client, server
  std::vector<int> unanswered;
  while (!ending_) {
    if (!silent_) { CloseAll(unanswered); }
    std::vector<pollfd> watched{{listening, POLLIN, 0}};
    for (const auto& [client, server] : pairs) {
      watched.push_back({client, POLLIN, 0});
      watched.push_back({server, POLLIN, 0});
    }
    if (poll(watched.data(), watched.size(), kPollMilliseconds) <= 0) { continue; }
    for (std::size_t i = watched.size() / 2; i > 0; --i) {
      const auto [client, server] = pairs[i - 1];
      const bool alive = (watched[2 * i - 1].revents == 0 || PassOn(client, server, false)) &&
                         (watched[2 * i].revents == 0 || PassOn(server, client, true));
      if (alive) { continue; }
      close(client);
      close(server);
      pairs.erase(pairs.begin() + static_cast<std::ptrdiff_t>(i - 1));
    }
    if ((watched[0].revents & POLLIN) != 0) {
      const int client = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
      const int server = silent_ ? -1 : unixsocket::ConnectTo(serverSocket);
      if (server >= 0) {
        pairs.emplace_back(client, server);
      } else if (silent_) {
        unanswered.push_back(client);
      } else {
        close(client);
      }
    }
  }
  for (const auto& [client, server] : pairs) {
    close(client);
    close(server);
  }
  CloseAll(unanswered);
  close(listening);
}

/// False when the connection is to be closed.
bool CuttingProxy::PassOn(int from, int to, bool fromServer) {
  std::array<char, 65536> buffer{};
  const ssize_t received = recv(from, buffer.data(), buffer.size(), 0);
  if (received <= 0) { return false; }
  ssize_t toSend = received;
  bool cut = false;
  if (fromServer) {
    if (bytesLeft_ >= 0 && bytesLeft_ < received) {
      toSend = bytesLeft_;
      bytesLeft_ = -1;
      cut = true;
    } else if (bytesLeft_ >= 0) {
      bytesLeft_ -= received;
    }
    bytesFromServer_ += toSend;
  }
  for (ssize_t sent = 0; sent < toSend;) {
    const ssize_t now = send(to, buffer.data() + sent, static_cast<std::size_t>(toSend - sent), MSG_NOSIGNAL);
    if (now <= 0) { return false; }
    sent += now;
  }
  return !cut;
}

}  // namespace brio::test
