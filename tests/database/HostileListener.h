#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace brio::test {

/// Listens on an address of this machine as a server would, and treats its clients in one of several ways.
class HostileListener {
public:
  enum class Habit {
    NeverAnswers,        ///< the system accepts connections, nobody reads them
    ClosesAtOnce,        ///< takes the start-up message and hangs up
    IsStarting,          ///< answers "the database system is starting up" (57P03)
    HasNoSlot,           ///< answers "too many clients" (53300)
    SendsWithoutEnd,     ///< lets in, then sends parameters as fast as it can
    SendsByteAfterByte,  ///< lets in, then sends parameters, a byte now and then
    PassesOn             ///< is the tests' real server
  };

  /// \param address  numeric, IPv4
  /// \param port  0 for one that is free
  HostileListener(Habit habit, const std::string& address, int port = 0);
  ~HostileListener();
  HostileListener(const HostileListener&) = delete;
  HostileListener& operator=(const HostileListener&) = delete;

  std::string Port() const { return std::to_string(port_); }
  /// How many clients came; those of one that never answers are not counted.
  int Clients() const { return clients_; }

private:
  void Listen();
  void Serve(int client);

  Habit habit_;
  int socket_;
  int port_ = 0;
  std::atomic<int> clients_{0};
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace brio::test
