#include <chrono>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/LoadScope.h"
#include "database/PerformPGQuery.h"
#include "tests/database/ForgingServer.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using test::ForgingServer;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Clock = std::chrono::steady_clock;

void Sleep(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

/// What a server may go on with for ever without being silent.
struct Flood {
  const char* name;
  std::string beginning;
  std::string bytes;
  int pause;  ///< between two of them, milliseconds
};

/// Many at once, so that the server is faster than any client.
std::string Repeated(const std::string& bytes) {
  std::string repeated;
  for (int i = 0; i < 2000; ++i) {
    repeated += bytes;
  }
  return repeated;
}

void PrintTo(const Flood& flood, std::ostream* stream) { *stream << flood.name; }

class LoadTimeout : public testing::Test {
protected:
  LoadTimeout() { table_.SetDetector("Birch"); }

  static bool Ask(Table& table) {
    const ResultHandle result(PerformPGQuery("SELECT 1", table));
    return result != nullptr;
  }

  ForgingServer server_;
  EnvironmentVariable database_{"BRIO_DATABASE", server_.ConnectionString()};
  EnvironmentVariable silence_{"BRIO_QUERY_TIMEOUT", "120"};
  EnvironmentVariable limit_{"BRIO_LOAD_TIMEOUT", "1"};
  CapturedMessages messages_;
  Table table_;
};

class EndlessAnswer : public LoadTimeout, public testing::WithParamInterface<Flood> {
protected:
  EndlessAnswer() {
    server_.SetAnswer([flood = GetParam()](const ForgingServer::Send& send) {
      send(ForgingServer::Description(1) + flood.beginning);
      while (send(flood.bytes)) {
        if (flood.pause > 0) { Sleep(flood.pause); }
      }
      return false;
    });
  }
};

TEST_P(EndlessAnswer, IsGivenUp) {
  const auto start = Clock::now();
  EXPECT_FALSE(Ask(table_));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(60));
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("connection to the database lost: the statement took longer than 1 s; the "
                          "connection is closed"));
}

TEST_P(EndlessAnswer, IsGivenUpRowByRow) {
  long taken = 0;
  const auto take = [&taken](const RowView&) { ++taken; };
  EXPECT_EQ(PerformPGQuery("SELECT 1", table_, take), std::nullopt);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("the statement took longer than 1 s")));
}

INSTANTIATE_TEST_SUITE_P(
    LoadTimeout, EndlessAnswer,
    testing::Values(Flood{"notices", "", Repeated(ForgingServer::Notice("on and on")), 0},
                    Flood{"parameters", "", Repeated(ForgingServer::Parameter("TimeZone", "UTC")), 0},
                    Flood{"slow notices", "", ForgingServer::Notice("on and on"), 50},
                    Flood{"slow rows", "", ForgingServer::Row({"1"}), 50},
                    Flood{"bytes of a message of a million", std::string("N\x00\x0f\x42\x40", 5), "x", 50}));

TEST_F(LoadTimeout, EndlessRowsAreGivenUpRowByRow) {
  server_.SetAnswer([](const ForgingServer::Send& send) {
    send(ForgingServer::Description(1));
    while (send(ForgingServer::Row({"1"}))) {}
    return false;
  });
  EXPECT_EQ(PerformPGQuery("SELECT 1", table_, [](const RowView&) {}), std::nullopt);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("the statement took longer than 1 s")));
}

TEST_F(LoadTimeout, IsForAllStatementsOfALoadTogether) {
  server_.SetAnswer([](const ForgingServer::Send& send) {
    Sleep(400);
    return send(ForgingServer::Description(1) + ForgingServer::Complete());
  });
  {
    const LoadScope scope;
    int answered = 0;
    while (answered < 10 && Ask(table_)) {
      ++answered;
    }
    EXPECT_LE(answered, 2);
    EXPECT_THAT(
        messages_.Texts(Severity::Error, "BrioDatabase"),
        ElementsAre("connection to the database lost: the load took longer than 1 s; the connection is "
                    "closed"));
    EXPECT_FALSE(LoadScope::WasInterrupted());
    // What it still asks fails at once, and nobody is bothered.
    const int connections = server_.Connections();
    Table other;
    other.SetDetector("Birch");
    EXPECT_FALSE(Ask(other));
    LoadScope::LeaveConnections();
    EXPECT_FALSE(Ask(other));
    EXPECT_EQ(server_.Connections(), connections);
    const auto errors = messages_.Texts(Severity::Error, "BrioDatabase");
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), "no connection is made: the load took longer than 1 s");
  }
  const EnvironmentVariable longer("BRIO_LOAD_TIMEOUT", "100");
  const LoadScope next;
  EXPECT_TRUE(Ask(table_));
}

TEST_F(LoadTimeout, IsForEachStatementOutsideALoad) {
  server_.SetAnswer([](const ForgingServer::Send& send) {
    Sleep(400);
    return send(ForgingServer::Description(1) + ForgingServer::Complete());
  });
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "3");
  for (int i = 0; i < 9; ++i) {
    EXPECT_TRUE(Ask(table_));
  }
  EXPECT_EQ(server_.Connections(), 1);
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(LoadTimeout, LeavesOutTheClientsOwnWork) {
  server_.AnswerRows({{"1"}});
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "3");
  const LoadScope scope;
  EXPECT_TRUE(Ask(table_));
  Sleep(1700);
  EXPECT_EQ(PerformPGQuery("SELECT 1", table_, [](const RowView&) { Sleep(1700); }), 1);
  EXPECT_TRUE(Ask(table_));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST_F(LoadTimeout, OfRowsThatStopComingIsThatOfSilence) {
  const EnvironmentVariable silence("BRIO_QUERY_TIMEOUT", "1");
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "100");
  server_.SetAnswer([](const ForgingServer::Send& send) {
    send(ForgingServer::Description(1) + ForgingServer::Row({"1"}) + ForgingServer::Row({"2"}));
    return false;
  });
  int taken = 0;
  const auto start = Clock::now();
  EXPECT_EQ(PerformPGQuery("SELECT 1", table_, [&taken](const RowView&) { ++taken; }), std::nullopt);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(60));
  EXPECT_EQ(taken, 2);
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre("connection to the database lost: no answer for 1 s; the connection is closed"));
}

TEST_F(LoadTimeout, ThatCannotBeReadIsReportedAndTheDefaultHolds) {
  const EnvironmentVariable silence("BRIO_QUERY_TIMEOUT", "7");
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "soon");
  EXPECT_TRUE(Ask(table_));
  EXPECT_THAT(messages_.Texts(Severity::Warning, "BrioDatabase"),
              ElementsAre("BRIO_LOAD_TIMEOUT is \"soon\", not a number of seconds; using 14"));
}

TEST_F(LoadTimeout, IsTwiceThatOfSilenceUnlessSet) {
  const EnvironmentVariable silence("BRIO_QUERY_TIMEOUT", "1");
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "");
  server_.SetAnswer([](const ForgingServer::Send& send) {
    while (send(ForgingServer::Notice("on and on"))) {
      Sleep(20);
    }
    return false;
  });
  EXPECT_FALSE(Ask(table_));
  EXPECT_THAT(messages_.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("the statement took longer than 2 s")));
}

TEST_F(LoadTimeout, IsNoneForZero) {
  const EnvironmentVariable silence("BRIO_QUERY_TIMEOUT", "1");
  const EnvironmentVariable limit("BRIO_LOAD_TIMEOUT", "0");
  server_.SetAnswer([](const ForgingServer::Send& send) {
    for (int i = 0; i < 100; ++i) {
      send(ForgingServer::Notice("on and on"));
      Sleep(25);
    }
    return send(ForgingServer::Description(1) + ForgingServer::Complete());
  });
  EXPECT_TRUE(Ask(table_));
  EXPECT_THAT(messages_.All(), IsEmpty());
}

TEST(Notices, AreToldUpToTenOfAStatement) {
  ForgingServer server;
  const EnvironmentVariable database("BRIO_DATABASE", server.ConnectionString());
  server.SetAnswer([](const ForgingServer::Send& send) {
    for (int i = 0; i < 25; ++i) {
      send(ForgingServer::Notice("on and on"));
    }
    return send(ForgingServer::Description(1) + ForgingServer::Complete());
  });
  const CapturedMessages messages("BrioDatabase=info");
  Table table;
  table.SetDetector("Birch");
  for (int statement = 0; statement < 2; ++statement) {
    const ResultHandle result(PerformPGQuery("SELECT 1", table));
    EXPECT_NE(result, nullptr);
  }
  auto told = messages.Texts(Severity::Info, "BrioDatabase");
  ASSERT_EQ(told.size(), 22U);
  EXPECT_EQ(told[10], "server says 15 more messages");
  EXPECT_EQ(told[21], "server says 15 more messages");
  told.erase(told.begin() + 10);
  told.pop_back();
  EXPECT_THAT(told, Each(HasSubstr("on and on")));
}

}  // namespace
}  // namespace brio::dbi
