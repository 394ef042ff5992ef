// What a connection string with several hosts or addresses reaches, held against libpq's own PQconnectdb,
// which is what psql calls.
#include <chrono>
#include <future>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/Connect.h"
#include "tests/database/HostileListener.h"
#include "tests/database/NamesOfTheTests.h"
#include "tests/database/ServerFixtures.h"
#include "tests/database/SilentHost.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using test::HostileListener;
using test::SilentHost;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Habit = HostileListener::Habit;

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

/// A server that lives, in two forms, and others that do not: 127.0.0.2 never answers, 127.0.0.3 is the
/// tests' server, 127.0.0.4 is starting, 127.0.0.5 has no slot, 127.0.0.6 refuses; all on one port.
class Hosts {
public:
  std::string Filled(const std::string& pattern) const {
    std::string text = Replaced(pattern, "SERVER", test::server::SocketFolder());
    text = Replaced(text, "SILENT", silentFolder_.Folder());
    text = Replaced(text, "TWO", test::kTwoAddresses);
    text = Replaced(text, "NONE", test::kNoAddress);
    return Replaced(text, "PORT", silent_.Port());
  }
  int Port() const { return std::stoi(silent_.Port()); }

private:
  SilentHost silentFolder_;
  HostileListener silent_{Habit::NeverAnswers, "127.0.0.2"};
  HostileListener alive_{Habit::PassesOn, "127.0.0.3", Port()};
  HostileListener starting_{Habit::IsStarting, "127.0.0.4", Port()};
  HostileListener full_{Habit::HasNoSlot, "127.0.0.5", Port()};
};

struct Case {
  const char* name;
  const char* where;
  bool connects;
};

std::string NameOf(const testing::TestParamInfo<Case>& info) { return info.param.name; }

class Failover : public testing::TestWithParam<Case> {
protected:
  std::string ConnectionString() const {
    const std::string where = hosts_.Filled(GetParam().where);
    const bool isURI = where.rfind("postgresql:", 0) == 0;
    return where + (isURI ? "/small_birch?user=brio_reader&connect_timeout=2"
                          : " user=brio_reader dbname=small_birch connect_timeout=2");
  }
  Hosts hosts_;
};

TEST_P(Failover, ReachesWhatLibpqReaches) {
  // For an empty entry in a list of ports the environment counts as little as for libpq.
  const EnvironmentVariable ports("PGPORT", "1");
  const std::string connectionString = ConnectionString();
  auto reference = std::async(std::launch::async, [&] {
    return PQstatus(ConnectionHandle(PQconnectdb(connectionString.c_str())).get()) == CONNECTION_OK;
  });
  const CapturedMessages messages;
  const auto start = std::chrono::steady_clock::now();
  const ConnectionHandle connection = Connect(connectionString, 0);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(reference.get(), GetParam().connects) << "libpq";
  EXPECT_EQ(connection != nullptr, GetParam().connects);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").empty(), GetParam().connects);
  EXPECT_LT(time.count(), 60.0);
  if (!connection) { return; }
  const ResultHandle result(PQexec(connection.get(), "SELECT current_database()"));
  EXPECT_STREQ(PQgetvalue(result.get(), 0, 0), "small_birch");
}

constexpr Case kCases[] = {
    {"ASilentStandbyWhenAStandbyIsPreferred",
     "host=SERVER,SILENT port=5432 target_session_attrs=prefer-standby", true},
    {"ASilentPrimaryWhenAStandbyIsPreferred",
     "host=SILENT,SERVER port=5432 target_session_attrs=prefer-standby", true},
    {"APrimaryAloneWhenAStandbyIsPreferred", "host=SERVER port=5432 target_session_attrs=prefer-standby",
     true},
    {"APrimaryAloneWhenAStandbyIsWanted", "host=SERVER port=5432 target_session_attrs=standby", false},
    {"APrimaryBehindOneThatIsStarting", "host=127.0.0.4,SERVER port=PORT,5432 target_session_attrs=primary",
     true},
    {"ASilentFirstAddressOfAName", "host=TWO port=PORT", true},
    {"ASilentFirstHostOfAURI", "postgresql://127.0.0.2:PORT,127.0.0.3:PORT", true},
    {"ASilentFirstAddressInAURI", "postgresql://TWO:PORT", true},
    {"ASilentFirstAddressWithAStandbyPreferred", "host=TWO port=PORT target_session_attrs=prefer-standby",
     true},
    {"ASilentFirstNumericAddress", "host=a,b hostaddr=127.0.0.2,127.0.0.3 port=PORT", true},
    {"AddressesWithoutNames", "hostaddr=127.0.0.2,127.0.0.3 port=PORT,PORT", true},
    {"AddressesOfWhichOneIsEmpty", "host=SILENT,b hostaddr=,127.0.0.3 port=5432,PORT", true},
    {"ANameInTheEmptyPlaceOfAnAddress", "host=TWO,b hostaddr=,127.0.0.6 port=PORT", true},
    {"ANameThatNamesNothing", "host=NONE,SERVER port=5432", true},
    {"AnEmptyLastPort", "host=127.0.0.2,SERVER port=PORT,", true},
    {"AnEmptyFirstPort", "host=SILENT,127.0.0.3 port=,PORT", true},
    {"AServerThatIsStarting", "host=127.0.0.4,127.0.0.3 port=PORT", true},
    {"AServerThatRefuses", "host=127.0.0.6,127.0.0.3 port=PORT", true},
    {"AServerWithoutASlotIsTheEnd", "host=127.0.0.5,127.0.0.3 port=PORT", false},
    {"MorePortsThanHosts", "host=SERVER port=5432,5432", false},
    {"MoreAddressesThanHosts", "host=a hostaddr=127.0.0.3,127.0.0.3 port=PORT", false},
    {"NobodyThere", "host=SILENT,127.0.0.6,NONE port=5432,PORT,PORT", false},
};

INSTANTIATE_TEST_SUITE_P(Connect, Failover, testing::ValuesIn(kCases), NameOf);

TEST(FailoverReach, HostsOfTheEnvironmentAndOfAServiceAreWalkedToo) {
  const Hosts hosts;
  const test::TemporaryFolder folder;
  const std::string more = "user=brio_reader dbname=small_birch connect_timeout=2";
  {
    const EnvironmentVariable names("PGHOST", hosts.Filled("SILENT,SERVER"));
    EXPECT_NE(Connect(more, 0), nullptr);
  }
  const EnvironmentVariable services(
      "PGSERVICEFILE",
      folder.Write("services", hosts.Filled("[both]\nhost=127.0.0.2,127.0.0.3\nport=PORT\n")));
  EXPECT_NE(Connect("service=both " + more, 0), nullptr);
}

TEST(FailoverReach, OneThatHangsUpWithoutAWordIsPassedOver) {
  const HostileListener first(Habit::ClosesAtOnce, "127.0.0.2");
  const CapturedMessages messages;
  EXPECT_NE(Connect("host=127.0.0.2," + test::server::SocketFolder() + " port=" + first.Port() +
                        ",5432 user=brio_reader dbname=small_birch",
                    0),
            nullptr);
  EXPECT_GT(first.Clients(), 0);
}

std::vector<std::string> ErrorsOf(const std::string& connectionString) {
  const CapturedMessages messages;
  EXPECT_EQ(Connect(connectionString, 0), nullptr);
  return messages.Texts(Severity::Error, "BrioDatabase");
}

TEST(FailoverReach, AnAddressOfANameIsTold) {
  const Hosts hosts;
  EXPECT_THAT(
      ErrorsOf(hosts.Filled("host=TWO port=PORT user=brio_stranger dbname=small_birch connect_timeout=2")),
      ElementsAre(AllOf(
          StartsWith(hosts.Filled("connection to server at \"TWO:PORT\" (127.0.0.2) failed: timeout expired\n"
                                  "connection to server at \"TWO\" (127.0.0.3), port PORT failed: FATAL:")),
          HasSubstr("brio_stranger"))));
}

TEST(FailoverReach, EachReasonIsGivenOnceWhateverTheNumberOfPasses) {
  const Hosts hosts;
  EXPECT_THAT(ErrorsOf(hosts.Filled("host=NONE,127.0.0.6,SILENT port=PORT,PORT,5432 connect_timeout=2 user=x "
                                    "target_session_attrs=prefer-standby")),
              ElementsAre(hosts.Filled(
                  "could not translate host name \"NONE\" to address: Name or service not known\n"
                  "connection to server at \"127.0.0.6\", port PORT failed: Connection refused\n"
                  "\tIs the server running on that host and accepting TCP/IP connections?\n"
                  "connection to server at \"SILENT:5432\" failed: timeout expired")));
}

class WhileConnecting : public testing::TestWithParam<Habit> {};

TEST_P(WhileConnecting, AServerIsGivenUpAfterTheTimeOutWhateverItSends) {
  const HostileListener first(GetParam(), "127.0.0.2");
  const CapturedMessages messages;
  const auto start = std::chrono::steady_clock::now();
  const auto connection = Connect("host=127.0.0.2," + test::server::SocketFolder() + " port=" + first.Port() +
                                      ",5432 user=brio_reader dbname=small_birch connect_timeout=2",
                                  0);
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
  ASSERT_NE(connection, nullptr);
  EXPECT_EQ(PQhost(connection.get()), test::server::SocketFolder());
  EXPECT_EQ(first.Clients(), 1);
  EXPECT_GE(time.count(), 1.9);
  EXPECT_LT(time.count(), 60.0);
}

TEST_P(WhileConnecting, AServerThatIsAloneIsReportedAsSilent) {
  const HostileListener only(GetParam(), "127.0.0.2");
  const CapturedMessages messages;
  EXPECT_EQ(Connect("host=127.0.0.2 port=" + only.Port() + " user=x connect_timeout=2", 0), nullptr);
  EXPECT_THAT(
      messages.Texts(Severity::Error, "BrioDatabase"),
      ElementsAre("connection to server at \"127.0.0.2:" + only.Port() + "\" failed: timeout expired"));
}

INSTANTIATE_TEST_SUITE_P(Connect, WhileConnecting,
                         testing::Values(Habit::SendsWithoutEnd, Habit::SendsByteAfterByte));

}  // namespace
}  // namespace brio::dbi
