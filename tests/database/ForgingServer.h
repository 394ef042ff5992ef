#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/database/Fixtures.h"

namespace brio::test {

/// Speaks as much of PostgreSQL's protocol on a Unix socket as it takes to connect, to begin and to end a
/// transaction, and answers every other statement as it is told, however a real server would not. One client
/// at a time.
class ForgingServer {
public:
  /// Sends bytes; false once nobody takes them any more.
  using Send = std::function<bool(const std::string& bytes)>;
  /// Answers one statement. \return whether the client is told that the answer is complete
  using Answer = std::function<bool(const Send& send)>;

  ForgingServer();
  ~ForgingServer();
  ForgingServer(const ForgingServer&) = delete;
  ForgingServer& operator=(const ForgingServer&) = delete;

  std::string ConnectionString() const { return "host=" + folder_.Path() + " user=reader dbname=forged"; }
  void SetAnswer(Answer answer);
  /// Answers with rows of text, all with as many columns as the first.
  void AnswerRows(const std::vector<std::vector<std::string>>& rows);
  int Connections() const { return connections_; }

  static std::string Description(std::size_t columns);
  static std::string Row(const std::vector<std::string>& values);
  static std::string Complete();
  static std::string Notice(const std::string& text);
  static std::string Parameter(const std::string& name, const std::string& value);

private:
  void Serve();
  void Attend(int client);
  bool Respond(char kind, const std::string& body, const Send& send);

  TemporaryFolder folder_;
  std::mutex mutex_;
  Answer answer_;
  char transaction_ = 'I';
  int listening_ = -1;
  std::atomic<int> connections_{0};
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace brio::test
