#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using testing::ElementsAre;
using testing::IsEmpty;

/// A socket's file is there before anybody listens.
bool IsListening(const std::string& socket) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): what the system's interface is made of
  const bool listens = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return listens;
}

/// A transaction pooler before the private server, with one server connection for all clients.
class BehindAPooler : public test::OwnDatabase {
protected:
  void SetUp() override {
    const std::string settings = folder_.Write(
        "pooler.ini", "[databases]\n* = host=" + test::server::SocketFolder() +
                          " port=5432 user=brio_reader\n[pgbouncer]\nlisten_addr =\nlisten_port = "
                          "5432\nunix_socket_dir = " +
                          folder_.Path() + "\nlogfile = " + folder_.Path() +
                          "/log\nauth_type = any\npool_mode = transaction\ndefault_pool_size = 1\n"
                          "server_reset_query =\n" +
                          // It does not run as root.
                          (geteuid() == 0 ? "user = postgres\n" : ""));
    const auto all = std::filesystem::perms::all;
    std::filesystem::permissions(folder_.Path(), all);
    pooler_ = fork();
    ASSERT_GE(pooler_, 0);
    if (pooler_ == 0) {
      execl("/usr/sbin/pgbouncer", "pgbouncer", "--quiet", settings.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    const std::string socket = folder_.Path() + "/.s.PGSQL.5432";
    for (int i = 0; i < 1500 && !IsListening(socket); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_TRUE(IsListening(socket)) << "the pooler did not start";
    ConnectAs("brio_reader", "host=" + folder_.Path());
  }

  void TearDown() override {
    if (pooler_ > 0) {
      kill(pooler_, SIGTERM);
      waitpid(pooler_, nullptr, 0);
    }
  }

  pid_t pooler_ = -1;
};

TEST_F(BehindAPooler, ALoadLeavesNoSettingToTheNextClient) {
  const CapturedMessages messages;
  std::string process;
  {
    const LoadScope scope;
    const auto table = BareTable();
    process = Ask(*table, "SELECT pg_backend_pid()");
    EXPECT_EQ(Ask(*table, "SHOW TimeZone"), "UTC");
    const auto facts = Facts();
    facts->SetValidityRange<int>("id", 2);
    ASSERT_TRUE(facts->Load());
    EXPECT_THAT(Notes(*facts), ElementsAre("two"));
  }
  const auto next = BareTable();
  EXPECT_EQ(Ask(*next, "SELECT pg_backend_pid()"), process);  // the same server connection
  EXPECT_EQ(Ask(*next, "SHOW TimeZone"), "America/Chicago");
  EXPECT_EQ(Ask(*next, "SHOW DateStyle"), "SQL, DMY");
  EXPECT_EQ(Ask(*next, "SHOW statement_timeout"), "0");
  EXPECT_EQ(Ask(*next, "SHOW transaction_read_only"), "off");
  EXPECT_THAT(messages.All(), IsEmpty());
}

TEST_F(BehindAPooler, ALoadWithAnErrorGivesTheServerConnectionBack) {
  const CapturedMessages messages;
  const LoadScope scope;
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  Run(*table, "SELECT 1/0");
  LoadScope::LeaveConnections();
  EXPECT_EQ(Ask(*BareTable(), "SHOW transaction_isolation"), "repeatable read");
  EXPECT_EQ(messages.All().size(), 1U);
}

}  // namespace
}  // namespace brio::dbi
