#include "tests/faults/HostileConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

namespace brio::test {
namespace {

constexpr auto kLook = std::chrono::milliseconds(20);
/// Long beside every limit that a client has under attack, short beside for ever.
constexpr auto kPatience = std::chrono::seconds(25);

}  // namespace

HostileConnection::HostileConnection(HostileProxy& proxy, std::shared_ptr<const Attack> attack, int period,
                                     int client, int server)
    : proxy_(proxy), attack_(std::move(attack)), period_(period), client_(client), server_(server) {}

HostileConnection::~HostileConnection() {
  close(client_);
  close(server_);
}

void HostileConnection::Serve() {
  while (MayGoOn()) {
    // The server's silence is made by not listening to it, so that its own end does not end it.
    std::array<pollfd, 2> watched{{{client_, POLLIN, 0}, {silent_ ? -1 : server_, POLLIN, 0}}};
    const auto look = trickling_ && !heldBack_.empty() ? std::min(attack_->pause, kLook) : kLook;
    poll(watched.data(), watched.size(), static_cast<int>(look.count()));
    if (watched[0].revents != 0 && !Receive(Direction::FromClient)) { return; }
    if (watched[1].revents != 0 && !Receive(Direction::FromServer)) { return; }
    if (trickling_ && !SendHeldBack()) { return; }
  }
}

/// False, and so the connection's end, when it was attacked long ago or the proxy ends.
bool HostileConnection::MayGoOn() {
  if (proxy_.ending_) { return false; }
  const bool lasts = attack_ && attack_->then != Attack::Then::PassOn && attack_->then != Attack::Then::Cut;
  if (lasts && attackedAt_ != Clock::time_point::max() && Clock::now() - attackedAt_ > kPatience) {
    ++proxy_.endured_;
    return false;
  }
  return true;
}

bool HostileConnection::Receive(Direction direction) {
  std::array<char, 65536> buffer{};
  const ssize_t received = recv(From(direction), buffer.data(), buffer.size(), 0);
  if (received <= 0) { return false; }
  if (silent_) { return true; }
  auto& splitter = direction == Direction::FromClient ? fromClient_ : fromServer_;
  splitter.Add(buffer.data(), static_cast<std::size_t>(received));
  while (const auto message = splitter.Next()) {
    if (!Pass(direction, *message)) { return false; }
    if (silent_) { break; }
  }
  return true;
}

PassedMessage HostileConnection::Noted(Direction direction, const std::string& message) {
  const bool isFirst = direction == Direction::FromClient && counts_[0] == 0;
  if (direction == Direction::FromClient && !isFirst) {
    const std::string statement = protocol::StatementIn(message);
    if (!statement.empty()) { statement_ = statement; }
  }
  const std::size_t number = counts_[static_cast<std::size_t>(direction)]++;
  const PassedMessage passed{direction, number, isFirst ? '\0' : message[0], statement_};
  proxy_.Record(period_, passed);
  return passed;
}

bool HostileConnection::Pass(Direction direction, const std::string& message) {
  const PassedMessage passed = Noted(direction, message);
  const bool attacked = attack_ && direction == attack_->direction && passed.number == attack_->number &&
                        passed.type == attack_->type && proxy_.attacked_ < attack_->times;
  if (attacked) {
    ++proxy_.attacked_;
    attackedAt_ = Clock::now();
    forging_ = true;
  }
  if (!forging_ || direction != attack_->direction) { return Send(direction, message); }
  const std::string bytes = attack_->forge ? attack_->forge(message, attacked) : message;
  forging_ = forging_ && message[0] != 'Z';
  if (!attacked) { return Send(direction, bytes); }
  return GoOn(bytes);
}

/// What the attack sends, and how it goes on; false when the connection ends with it.
bool HostileConnection::GoOn(const std::string& bytes) {
  trickling_ = attack_->then == Attack::Then::Trickle;
  if (!Send(attack_->direction, bytes)) { return false; }
  switch (attack_->then) {
    case Attack::Then::Cut: return false;
    case Attack::Then::FallSilent: silent_ = true; break;
    case Attack::Then::Flood: return Flood();
    default: break;
  }
  return true;
}

bool HostileConnection::Send(Direction direction, const std::string& bytes) {
  if (trickling_ && direction == Direction::FromServer) {
    heldBack_ += bytes;
    return true;
  }
  for (std::size_t sent = 0; sent < bytes.size();) {
    const ssize_t now =
        send(To(direction), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (now > 0) {
      sent += static_cast<std::size_t>(now);
      continue;
    }
    if (errno != EAGAIN || !MayGoOn()) { return false; }
    pollfd watched{To(direction), POLLOUT, 0};
    poll(&watched, 1, static_cast<int>(kLook.count()));
  }
  return true;
}

/// The next byte that a trickle holds back; all of them without pauses.
bool HostileConnection::SendHeldBack() {
  while (!heldBack_.empty()) {
    if (send(client_, heldBack_.data(), 1, MSG_NOSIGNAL) != 1) { return false; }
    heldBack_.erase(0, 1);
    if (attack_->pause.count() > 0) {
      std::this_thread::sleep_for(attack_->pause);
      break;
    }
  }
  return true;
}

bool HostileConnection::Flood() {
  std::string wave = attack_->flood;
  // Without pauses as much at a time as a socket takes, so that there is always something to read.
  while (attack_->pause.count() == 0 && wave.size() < 32768) {
    wave += attack_->flood;
  }
  while (MayGoOn()) {
    if (!Send(Direction::FromServer, wave)) { return false; }
    std::this_thread::sleep_for(attack_->pause);
  }
  return false;
}

}  // namespace brio::test
