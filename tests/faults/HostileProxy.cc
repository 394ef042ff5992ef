#include "tests/faults/HostileProxy.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "tests/faults/HostileConnection.h"
#include "tests/faults/UnixSockets.h"

namespace brio::test {

HostileProxy::HostileProxy(const std::string& serverSocketFolder)
    : folder_(unixsocket::MakeFolder()),
      serverSocket_(serverSocketFolder + "/.s.PGSQL.5432"),
      listening_(unixsocket::Listen(folder_ + "/.s.PGSQL.5432")),
      thread_([this] { Serve(); }) {}

HostileProxy::~HostileProxy() {
  ending_ = true;
  thread_.join();
  close(listening_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void HostileProxy::Begin(Attack attack) {
  const std::lock_guard<std::mutex> lock(mutex_);
  attack_ = std::make_shared<const Attack>(std::move(attack));
  passed_.clear();
  ++period_;
  attacked_ = 0;
  endured_ = 0;
}

void HostileProxy::End() {
  const std::lock_guard<std::mutex> lock(mutex_);
  attack_.reset();
  passed_.clear();
  ++period_;
}

std::vector<PassedMessage> HostileProxy::Passed() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return passed_;
}

/// Leaves out the last words of connections that were made before.
void HostileProxy::Record(int period, const PassedMessage& message) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (period == period_) { passed_.push_back(message); }
}

void HostileProxy::Serve() {
  constexpr int kPollMilliseconds = 20;
  std::vector<std::thread> connections;
  while (!ending_) {
    pollfd watched{listening_, POLLIN, 0};
    if (poll(&watched, 1, kPollMilliseconds) <= 0) { continue; }
    const int client = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
    const int server = unixsocket::ConnectTo(serverSocket_);
    if (server < 0) {
      close(client);
      continue;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    connections.emplace_back([this, attack = attack_, period = period_, client, server] {
      HostileConnection(*this, attack, period, client, server).Serve();
    });
  }
  for (auto& connection : connections) {
    connection.join();
  }
}

}  // namespace brio::test
