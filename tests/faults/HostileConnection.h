#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "tests/faults/HostileProxy.h"
#include "tests/faults/ProtocolMessages.h"

namespace brio::test {

/// One connection through a HostileProxy, served by a thread of its own.
class HostileConnection {
public:
  /// Takes both sockets.
  HostileConnection(HostileProxy& proxy, std::shared_ptr<const Attack> attack, int period, int client,
                    int server);
  ~HostileConnection();
  HostileConnection(const HostileConnection&) = delete;
  HostileConnection& operator=(const HostileConnection&) = delete;

  /// Until either side closes, the attack cuts, or the proxy ends.
  void Serve();

private:
  using Clock = std::chrono::steady_clock;

  bool Receive(Direction direction);
  bool Pass(Direction direction, const std::string& message);
  bool GoOn(const std::string& bytes);
  bool Send(Direction direction, const std::string& bytes);
  bool SendHeldBack();
  bool Flood();
  bool MayGoOn();
  PassedMessage Noted(Direction direction, const std::string& message);
  int From(Direction direction) const { return direction == Direction::FromClient ? client_ : server_; }
  int To(Direction direction) const { return direction == Direction::FromClient ? server_ : client_; }

  HostileProxy& proxy_;
  std::shared_ptr<const Attack> attack_;
  int period_;
  int client_;
  int server_;
  protocol::Splitter fromClient_{true};
  protocol::Splitter fromServer_{false};
  std::array<std::size_t, 2> counts_{};
  std::string statement_;
  std::string heldBack_;  // of a trickle
  bool forging_ = false;
  bool silent_ = false;
  bool trickling_ = false;
  Clock::time_point attackedAt_ = Clock::time_point::max();
};

}  // namespace brio::test
