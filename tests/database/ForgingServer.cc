#include "tests/database/ForgingServer.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace brio::test {
namespace {

std::string Number(std::uint32_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
    text += static_cast<char>(value >> static_cast<unsigned int>(shift) & 0xFFU);
  }
  return text;
}

std::string Text(const std::string& text) { return text + '\0'; }

std::string Message(char kind, const std::string& body) {
  return kind + Number(static_cast<std::uint32_t>(body.size() + 4), 4) + body;
}

std::string Ready(char transaction) { return Message('Z', std::string(1, transaction)); }

bool StartsWith(const std::string& text, const char* beginning) { return text.rfind(beginning, 0) == 0; }

/// Exactly so many bytes; fewer when the client has gone or the server is to end.
std::string Receive(int client, std::size_t size, const std::atomic<bool>& ending) {
  std::string bytes(size, '\0');
  std::size_t received = 0;
  while (received < size && !ending) {
    pollfd request{client, POLLIN, 0};
    if (poll(&request, 1, 20) <= 0) { continue; }
    const ssize_t now = recv(client, &bytes[received], size - received, 0);
    if (now <= 0) { break; }
    received += static_cast<std::size_t>(now);
  }
  bytes.resize(received);
  return bytes;
}

std::size_t LengthIn(const std::string& bytes) {
  std::size_t length = 0;
  for (const char byte : bytes) {
    length = length << 8U | static_cast<unsigned char>(byte);
  }
  return length - 4;
}

}  // namespace

ForgingServer::ForgingServer() {
  AnswerRows({});
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder_.Path() + "/.s.PGSQL.5432";
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listening_, 8) != 0) {
    throw std::runtime_error("no socket could be made in " + folder_.Path());
  }
  thread_ = std::thread([this] { Serve(); });
}

ForgingServer::~ForgingServer() {
  ending_ = true;
  thread_.join();
  close(listening_);
}

void ForgingServer::SetAnswer(Answer answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  answer_ = std::move(answer);
}

void ForgingServer::AnswerRows(const std::vector<std::vector<std::string>>& rows) {
  SetAnswer([rows](const Send& send) {
    std::string bytes = Description(rows.empty() ? 0 : rows.front().size());
    for (const auto& row : rows) {
      bytes += Row(row);
    }
    return send(bytes + Complete());
  });
}

std::string ForgingServer::Description(std::size_t columns) {
  std::string body = Number(static_cast<std::uint32_t>(columns), 2);
  for (std::size_t i = 0; i < columns; ++i) {
    constexpr std::uint32_t kTextType = 25;
    // Name, table, column of it, type, width, modifier, text format.
    body += Text("c") + Number(0, 4) + Number(0, 2) + Number(kTextType, 4) + Number(0xFFFF, 2) +
            Number(0xFFFFFFFF, 4) + Number(0, 2);
  }
  return Message('T', body);
}

std::string ForgingServer::Row(const std::vector<std::string>& values) {
  std::string body = Number(static_cast<std::uint32_t>(values.size()), 2);
  for (const auto& value : values) {
    body += Number(static_cast<std::uint32_t>(value.size()), 4) + value;
  }
  return Message('D', body);
}

std::string ForgingServer::Complete() { return Message('C', Text("SELECT 1")); }

std::string ForgingServer::Notice(const std::string& text) {
  return Message('N', "S" + Text("NOTICE") + "M" + Text(text) + '\0');
}

std::string ForgingServer::Parameter(const std::string& name, const std::string& value) {
  return Message('S', Text(name) + Text(value));
}

void ForgingServer::Serve() {
  while (!ending_) {
    pollfd request{listening_, POLLIN, 0};
    if (poll(&request, 1, 20) <= 0) { continue; }
    const int client = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) { continue; }
    ++connections_;
    Attend(client);
    close(client);
  }
}

void ForgingServer::Attend(int client) {
  const Send send = [&](const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
      pollfd request{client, POLLOUT, 0};
      if (ending_) { return false; }
      if (poll(&request, 1, 20) <= 0) { continue; }
      const ssize_t now =
          ::send(client, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (now <= 0) { return false; }
      sent += static_cast<std::size_t>(now);
    }
    return true;
  };
  transaction_ = 'I';
  const std::string start = Receive(client, 4, ending_);
  if (start.size() < 4 || Receive(client, LengthIn(start), ending_).empty()) { return; }
  send(Message('R', Number(0, 4)) + Parameter("server_version", "15.0") + Ready(transaction_));
  for (;;) {
    const std::string head = Receive(client, 5, ending_);
    if (head.size() < 5 || head[0] == 'X') { return; }
    const std::size_t length = LengthIn(head.substr(1));
    const std::string body = Receive(client, length, ending_);
    if (body.size() < length || !Respond(head[0], body, send)) { return; }
  }
}

/// \return false when there is nobody to respond to any more
bool ForgingServer::Respond(char kind, const std::string& body, const Send& send) {
  if (kind == 'Q') {
    if (StartsWith(body, "BEGIN")) { transaction_ = 'T'; }
    if (StartsWith(body, "COMMIT") || StartsWith(body, "ROLLBACK")) { transaction_ = 'I'; }
    return send(Message('C', Text("DONE")) + Ready(transaction_));
  }
  if (kind != 'S') { return true; }  // the parts of a statement, which a sync ends
  Answer answer;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    answer = answer_;
  }
  send(Message('1', "") + Message('2', ""));
  return !answer(send) || send(Ready(transaction_));
}

}  // namespace brio::test
