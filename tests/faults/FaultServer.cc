#include "tests/faults/FaultServer.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/support/Server.h"

namespace brio::test::faultserver {
namespace {

constexpr auto kPause = std::chrono::milliseconds(5);
constexpr int kPatience = 12000;

std::string Folder() { return std::filesystem::path(server::SocketFolder()).parent_path().string(); }

template <class Condition>
bool WaitFor(Condition condition) {
  for (int i = 0; i < kPatience; ++i) {
    if (condition()) { return true; }
    std::this_thread::sleep_for(kPause);
  }
  return false;
}

}  // namespace

void Stop() {
  const std::string lockFile = Folder() + "/data/postmaster.pid";
  int postmaster = 0;
  std::ifstream(lockFile) >> postmaster;
  if (postmaster <= 1 || kill(postmaster, SIGINT) != 0) { throw std::runtime_error("no server to stop"); }
  if (!WaitFor([&] { return kill(postmaster, 0) != 0 || !std::filesystem::exists(lockFile); })) {
    throw std::runtime_error("the server does not stop");
  }
}

void Start() {
  const std::string folder = Folder();
  const pid_t child = fork();
  if (child == 0) {
    // The server must not inherit what captures this process's output: whoever waits for that to be closed
    // would wait for the server.
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDIN_FILENO);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    execl(BRIO_SANDBOX, BRIO_SANDBOX, "--dir", folder.c_str(), "up", nullptr);
    _exit(127);
  }
  int status = -1;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error("the server does not start");
  }
}

std::vector<int> Backends(const std::string& applicationName) {
  std::vector<int> backends;
  for (const auto& row :
       server::Query("postgres", "SELECT pid FROM pg_stat_activity WHERE application_name ~ '^" +
                                     applicationName + "$'")) {
    backends.push_back(std::stoi(row[0]));
  }
  return backends;
}

bool NoConnectionStays() {
  return WaitFor([] { return Backends().empty(); });
}

void WaitUntilGone(int backend) {
  const std::string statement =
      "SELECT count(*) FROM pg_stat_activity WHERE pid = " + std::to_string(backend);
  if (!WaitFor([&] { return server::Value("postgres", statement) == "0"; })) {
    throw std::runtime_error("backend " + std::to_string(backend) + " does not end");
  }
}

void Terminate(int backend) {
  // One that has ended by itself meanwhile is no reason for a warning on standard error.
  server::Query("postgres", "SET client_min_messages TO error; SELECT pg_terminate_backend(" +
                                std::to_string(backend) + ")");
  WaitUntilGone(backend);
}

}  // namespace brio::test::faultserver
