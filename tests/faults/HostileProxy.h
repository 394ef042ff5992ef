#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace brio::test {

enum class Direction { FromClient, FromServer };

/// A message that passed through the proxy.
struct PassedMessage {
  Direction direction;
  /// Which one of its direction on its connection, from 0.
  std::size_t number;
  /// As in the protocol; '\0' for the first message of a client.
  char type;
  /// The statement that the client asked last on the connection; empty before the first.
  std::string statement;
};

/// What is done to each connection when it comes to a message: the one with a number, if it has the type.
struct Attack {
  enum class Then { PassOn, Cut, FallSilent, Trickle, Flood };

  Direction direction = Direction::FromServer;
  std::size_t number = 0;
  char type = '\0';
  /// What is sent in place of the message, which is passed on when this is empty, and in place of each that
  /// follows it in its direction up to the next ReadyForQuery. \param first  true for the message itself
  std::function<std::string(const std::string& message, bool first)> forge = {};
  /// What becomes of the connection behind the message: bytes pass one by one with pauses, nothing passes any
  /// more and it stays open, or something else is sent without end, with pauses between.
  Then then = Then::PassOn;
  std::string flood = {};
  std::chrono::milliseconds pause{0};
  /// How many connections it is done to, in the order in which they come to the message.
  int times = 1'000'000;
};

/// Stands between the library and the server on a Unix socket of its own, knows where a message begins and
/// ends, and does to a connection what an attack says.
class HostileProxy {
public:
  explicit HostileProxy(const std::string& serverSocketFolder);
  ~HostileProxy();
  HostileProxy(const HostileProxy&) = delete;
  HostileProxy& operator=(const HostileProxy&) = delete;

  /// The folder of its own socket.
  const std::string& SocketFolder() const { return folder_; }

  /// Attacks the connections that are made from now on; the counts below begin afresh.
  void Begin(Attack attack);
  /// Lets connections that are made from now on pass.
  void End();

  /// Messages of the connections made since Begin or End, in order.
  std::vector<PassedMessage> Passed() const;
  /// How many connections were attacked.
  int Attacked() const { return attacked_; }
  /// How many of them their client had not given up after a time that is long beside any of its limits; they
  /// were cut then.
  int Endured() const { return endured_; }

private:
  friend class HostileConnection;
  void Serve();
  void Record(int period, const PassedMessage& message);

  std::string folder_;
  std::string serverSocket_;
  int listening_ = -1;
  mutable std::mutex mutex_;
  // Guarded by the mutex. A new period begins with each attack and after it.
  std::shared_ptr<const Attack> attack_;
  std::vector<PassedMessage> passed_;
  int period_ = 0;
  std::atomic<int> attacked_{0};
  std::atomic<int> endured_{0};
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace brio::test
