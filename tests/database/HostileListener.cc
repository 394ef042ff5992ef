#include "tests/database/HostileListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "tests/support/Server.h"

namespace brio::test {
namespace {

constexpr int kPollMilliseconds = 20;
constexpr std::uint32_t kSSLRequest = 80877103;
constexpr std::uint32_t kGSSRequest = 80877104;

std::uint32_t Number(const char* bytes) {
  std::uint32_t number = 0;
  std::memcpy(&number, bytes, sizeof number);
  return ntohl(number);
}

std::string ServerMessage(char type, const std::string& body) {
  const std::uint32_t length = htonl(static_cast<std::uint32_t>(body.size() + 4));
  std::string message(1, type);
  message.append(reinterpret_cast<const char*>(&length), sizeof length);
  return message + body;
}

std::string Refusal(const std::string& code, const std::string& text) {
  using namespace std::string_literals;
  return ServerMessage('E', "SFATAL\0VFATAL\0C"s + code + "\0M"s + text + "\0\0"s);
}

const std::string& LettingIn() {
  static const std::string message = ServerMessage('R', std::string(4, '\0'));
  return message;
}

std::string Parameter(int number) {
  using namespace std::string_literals;
  return ServerMessage('S', "parameter" + std::to_string(number) + "\0value\0"s);
}

bool IsReady(int socket, short what) {
  pollfd request{socket, what, 0};
  return poll(&request, 1, kPollMilliseconds) > 0;
}

/// All of it, however slow the client; false when it has gone or the listener ends.
bool Send(int socket, const std::string& bytes, const std::atomic<bool>& ending) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    if (ending) { return false; }
    if (!IsReady(socket, POLLOUT)) { continue; }
    const ssize_t size = send(socket, &bytes[sent], bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size <= 0) { return false; }
    sent += static_cast<std::size_t>(size);
  }
  return true;
}

/// Reads up to and with the message in which the client says who it is; declines encryption.
bool TakeStartUp(int client, const std::atomic<bool>& ending) {
  std::string received;
  std::array<char, 4096> buffer{};
  while (!ending) {
    if (!IsReady(client, POLLIN)) { continue; }
    const ssize_t size = recv(client, buffer.data(), buffer.size(), 0);
    if (size <= 0) { return false; }
    received.append(buffer.data(), static_cast<std::size_t>(size));
    if (received.size() < 8 || received.size() < Number(received.data())) { continue; }
    const auto code = Number(received.data() + 4);
    if (code != kSSLRequest && code != kGSSRequest) { return true; }
    received.clear();
    if (!Send(client, "N", ending)) { return false; }
  }
  return false;
}

int ConnectToServer() {
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = server::SocketFolder() + "/.s.PGSQL.5432";
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("the tests' server does not listen");
  }
  return server;
}

bool PassOn(int from, int to, const std::atomic<bool>& ending) {
  std::array<char, 65536> buffer{};
  const ssize_t size = recv(from, buffer.data(), buffer.size(), 0);
  return size > 0 && Send(to, std::string(buffer.data(), static_cast<std::size_t>(size)), ending);
}

void BeTheServer(int client, const std::atomic<bool>& ending) {
  const int server = ConnectToServer();
  bool open = true;
  while (open && !ending) {
    std::array<pollfd, 2> both{{{client, POLLIN, 0}, {server, POLLIN, 0}}};
    if (poll(both.data(), both.size(), kPollMilliseconds) <= 0) { continue; }
    open = (both[0].revents == 0 || PassOn(client, server, ending)) &&
           (both[1].revents == 0 || PassOn(server, client, ending));
  }
  close(server);
}

void SendWithoutEnd(int client, const std::atomic<bool>& ending) {
  // Many names keep the client busier than the sender, so that there is always something to read.
  std::string many;
  for (int i = 0; i < 2000; ++i) {
    many += Parameter(i);
  }
  while (!ending && Send(client, many, ending)) {}
}

void SendByteAfterByte(int client, const std::atomic<bool>& ending) {
  const std::string parameter = Parameter(0);
  for (std::size_t i = 0; !ending && Send(client, parameter.substr(i % parameter.size(), 1), ending); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
  }
}

}  // namespace

HostileListener::HostileListener(Habit habit, const std::string& address, int port)
    : habit_(habit), socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  const int yes = 1;
  setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<std::uint16_t>(port));
  socklen_t size = sizeof place;
  auto* generic = reinterpret_cast<sockaddr*>(&place);
  if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1 || bind(socket_, generic, size) != 0 ||
      listen(socket_, 16) != 0 || getsockname(socket_, generic, &size) != 0) {
    close(socket_);
    throw std::runtime_error("cannot listen at " + address + ":" + std::to_string(port));
  }
  port_ = ntohs(place.sin_port);
  if (habit_ != Habit::NeverAnswers) {
    thread_ = std::thread([this] { Listen(); });
  }
}

HostileListener::~HostileListener() {
  ending_ = true;
  if (thread_.joinable()) { thread_.join(); }
  close(socket_);
}

void HostileListener::Listen() {
  std::vector<std::thread> clients;
  while (!ending_) {
    if (!IsReady(socket_, POLLIN)) { continue; }
    const int client = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) { continue; }
    ++clients_;
    clients.emplace_back([this, client] { Serve(client); });
  }
  for (auto& client : clients) {
    client.join();
  }
}

void HostileListener::Serve(int client) {
  if (habit_ == Habit::PassesOn) {
    BeTheServer(client, ending_);
  } else if (TakeStartUp(client, ending_)) {
    switch (habit_) {
      case Habit::IsStarting:
        Send(client, Refusal("57P03", "the database system is starting up"), ending_);
        break;
      case Habit::HasNoSlot:
        Send(client, Refusal("53300", "sorry, too many clients already"), ending_);
        break;
      case Habit::SendsWithoutEnd:
        Send(client, LettingIn(), ending_);
        SendWithoutEnd(client, ending_);
        break;
      case Habit::SendsByteAfterByte:
        Send(client, LettingIn(), ending_);
        SendByteAfterByte(client, ending_);
        break;
      case Habit::ClosesAtOnce:
      case Habit::NeverAnswers:
      case Habit::PassesOn: break;
    }
  }
  close(client);
}

}  // namespace brio::test
