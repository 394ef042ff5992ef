#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr const char* kRunsFailed =
    "RunHistory::FailedLoadRuns|LoadDAQRunHistory: failed to load the runs table.\n";

struct Way {
  const char* name;
  std::string connection;
  const char* reason;
};

class Unreachable : public testing::TestWithParam<const char*> {};

Way WayOf(const std::string& name) {
  const std::string small = server::SocketFolder();
  if (name == "UnknownService") { return {"", "service=brio-nowhere", "service \"brio-nowhere\" not found"}; }
  if (name == "WrongPassword") {
    return {"", "host=" + small + " dbname=small_birch user=brio_password password=wrong-secret",
            "password authentication failed"};
  }
  if (name == "NoPassword") {
    return {"", "host=" + small + " dbname=small_birch user=brio_password passfile=/nonexistent",
            "no password supplied"};
  }
  if (name == "NoServer") {
    return {"", "host=/nonexistent dbname=small_birch", "No such file or directory"};
  }
  if (name == "UnknownDatabase") {
    return {"", server::ConnectionString("nowhere_{detector}"), "does not exist"};
  }
  if (name == "Unreadable") { return {"", "host='unclosed password=wrong-secret", "cannot be read"}; }
  return {"", server::Template("small", "brio_nobody"), "permission denied"};
}

TEST_P(Unreachable, FailsTheRunsTableEachTimeWithoutAWordOfAPassword) {
  const auto way = WayOf(GetParam());
  const EnvironmentVariable database("BRIO_DATABASE", way.connection);
  const EnvironmentVariable noPassword("PGPASSWORD", nullptr);
  CapturedMessages messages("debug");
  RunHistory run(13000, "Birch");
  run.SetMaxLoadRetries(3);
  for (std::size_t attempt = 1; attempt <= 2; ++attempt) {
    std::string thrown;
    const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
    EXPECT_EQ(thrown, kRunsFailed);
    EXPECT_EQ(activity.output + activity.error, "");
    EXPECT_LE(activity.attempts, 1) << "a table is loaded with a single attempt";
    ASSERT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), SizeIs(attempt));
    EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
  }
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase")[0],
              AllOf(HasSubstr(way.reason), Not(HasSubstr("wrong-secret"))));
}

INSTANTIATE_TEST_SUITE_P(DAQRunHistory, Unreachable,
                         testing::Values("UnknownService", "WrongPassword", "NoPassword", "NoServer",
                                         "UnknownDatabase", "Unreadable", "NoRights"),
                         [](const auto& tested) { return std::string(tested.param); });

/// A server of the test's own, with bare tables, that it may stop.
class OwnServer {
public:
  OwnServer() {
    Sandbox("up");
    Sandbox("load --size empty --prefix own");
  }
  ~OwnServer() { Sandbox("down"); }
  OwnServer(const OwnServer&) = delete;
  OwnServer& operator=(const OwnServer&) = delete;

  const std::string& Folder() const { return folder_; }
  void Start() { Sandbox("up"); }
  /// Disconnects everybody and keeps the data.
  void Stop() {
    pid_t server = 0;
    std::ifstream(folder_ + "/data/postmaster.pid") >> server;
    ASSERT_GT(server, 1);
    ASSERT_EQ(kill(server, SIGINT), 0);
    for (int wait = 0; wait < 6000 && kill(server, 0) == 0; ++wait) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

private:
  void Sandbox(const std::string& arguments) {
    const std::string command =
        std::string(BRIO_SANDBOX) + " --dir " + folder_ + " " + arguments + " >/dev/null 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
  }
  // Where the server's own user can reach it, and short enough for a socket.
  std::string folder_ = "/tmp/brio-own-" + std::to_string(getpid());
};

TEST(StoppedServer, FailsTheNextLoadAndServesTheOneAfterItsReturn) {
  OwnServer own;
  const EnvironmentVariable testServer("BRIO_TEST_SERVER_DIR", own.Folder());
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("own"));
  server::Query("own_birch",
                "INSERT INTO daq.runs (run, tstart) VALUES (13000, '2016-03-01 03:00:00');"
                "INSERT INTO daq.daqresourcesbyrun VALUES (13000, 'dcm', 'dcm-2-01-01', 'Birch', '')");
  CapturedMessages messages;
  RunHistory run(13000, "Birch");
  EXPECT_TRUE(run.LoadDAQRunHistory());
  own.Stop();
  const auto stopped = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
  EXPECT_EQ(stopped.output, kHardwareLine);
  EXPECT_EQ(
      stopped.error,
      "RunHistory::LoadHardwareInfo(): Failed to connect to hardware database!  Failed to load hardware "
      "info.\n");
  RunHistory other(13000, "Birch");
  EXPECT_EQ(ThrownBy([&] { other.LoadDAQRunHistory(); }), kRunsFailed);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), SizeIs(2));
  own.Start();
  ActivityOf([&] {
    EXPECT_TRUE(run.LoadHardwareInfo());
    EXPECT_TRUE(other.LoadDAQRunHistory());
  });
}

}  // namespace
}  // namespace brio::test
