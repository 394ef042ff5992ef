// The proxy does what its attacks say, as libpq alone sees it.
#include "tests/faults/HostileProxy.h"

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include "tests/faults/HostileTrials.h"
#include "tests/faults/ProtocolMessages.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using testing::HasSubstr;
using Connection = std::unique_ptr<PGconn, decltype(&PQfinish)>;
using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

class HostileProxyOfAStatement : public testing::Test {
protected:
  /// Messages of the server to a client that connects and asks: in that order.
  std::size_t NumberOf(char type) {
    proxy_.End();
    Ask();
    for (const auto& message : proxy_.Passed()) {
      const bool afterConnecting = !message.statement.empty();
      if (message.type == type && message.direction == Direction::FromServer && afterConnecting) {
        return message.number;
      }
    }
    ADD_FAILURE() << "no message " << type;
    return 0;
  }

  void Attack(trials::Forgery forgery) {
    forgery.trial.attack.number = NumberOf(forgery.type);
    forgery.trial.attack.type = forgery.type;
    proxy_.Begin(forgery.trial.attack);
  }

  /// "1,2;3,4" for two rows, or what libpq says is wrong.
  std::string Ask() {
    const Connection connection(
        PQconnectdb(("host=" + proxy_.SocketFolder() + " dbname=postgres user=brio_reader").c_str()),
        &PQfinish);
    if (PQstatus(connection.get()) != CONNECTION_OK) { return PQerrorMessage(connection.get()); }
    const Result result(
        PQexecParams(connection.get(), "VALUES (1, 2), (3, 4)", 0, nullptr, nullptr, nullptr, nullptr, 0),
        &PQclear);
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) { return PQresultErrorMessage(result.get()); }
    std::string rows;
    for (int row = 0; row < PQntuples(result.get()); ++row) {
      for (int column = 0; column < PQnfields(result.get()); ++column) {
        rows += PQgetvalue(result.get(), row, column) +
                std::string(column + 1 < PQnfields(result.get()) ? "," : ";");
      }
    }
    return rows;
  }

  HostileProxy proxy_{server::SocketFolder()};
};

TEST_F(HostileProxyOfAStatement, PassesEverythingOn) {
  EXPECT_EQ(Ask(), "1,2;3,4;");
  EXPECT_EQ(proxy_.Attacked(), 0);
}

TEST_F(HostileProxyOfAStatement, Cuts) {
  Attack({'C', trials::CutBefore()});
  EXPECT_THAT(Ask(), HasSubstr("server closed the connection unexpectedly"));
  EXPECT_THAT(Ask(), HasSubstr("server closed the connection unexpectedly"));
  EXPECT_EQ(proxy_.Attacked(), 2);
  proxy_.End();
  EXPECT_EQ(Ask(), "1,2;3,4;");
}

TEST_F(HostileProxyOfAStatement, CutsOnce) {
  Attack({'D', trials::CutBefore(1)});
  EXPECT_THAT(Ask(), HasSubstr("server closed the connection unexpectedly"));
  EXPECT_EQ(Ask(), "1,2;3,4;");
  EXPECT_EQ(proxy_.Attacked(), 1);
}

TEST_F(HostileProxyOfAStatement, SendsByteByByte) {
  Attack({'2', trials::QuickTrickle()});
  EXPECT_EQ(Ask(), "1,2;3,4;");
  EXPECT_EQ(proxy_.Attacked(), 1);
}

TEST_F(HostileProxyOfAStatement, ChangesTheColumns) {
  const auto forgeries = trials::ForgedColumns();
  ASSERT_EQ(forgeries[0].trial.name, "a column less");
  Attack(forgeries[0]);
  EXPECT_EQ(Ask(), "1;3;");
  ASSERT_EQ(forgeries[1].trial.name, "a column more");
  Attack(forgeries[1]);
  EXPECT_EQ(Ask(), "1,2,1;3,4,1;");
  ASSERT_EQ(forgeries[3].trial.name, "a column less than the rows");
  Attack(forgeries[3]);
  EXPECT_THAT(Ask(), HasSubstr("unexpected field count in \"D\" message"));
}

TEST_F(HostileProxyOfAStatement, EndsWithACloseWhoeverIsConnected) {
  const Connection connection(
      PQconnectdb(("host=" + proxy_.SocketFolder() + " dbname=postgres user=brio_reader").c_str()),
      &PQfinish);
  EXPECT_EQ(PQstatus(connection.get()), CONNECTION_OK);
}

}  // namespace
}  // namespace brio::test
