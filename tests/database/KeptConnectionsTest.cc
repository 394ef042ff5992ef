#include "database/KeptConnections.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::RecordedSteps;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

using Step = DatabaseStep;

class KeptConnection : public test::OwnDatabase {
protected:
  /// The first value of a statement run in a load of its own.
  static std::string InALoad(const std::string& statement) {
    const LoadScope scope;
    return Ask(*BareTable(), statement);
  }
  static long Attempts() { return ConnectionStatistics::Now().connectionAttempts; }
};

TEST_F(KeptConnection, ServesTheNextLoadInATransactionOfItsOwn) {
  const RecordedSteps steps;
  {
    const KeptConnections kept;
    const std::string process = InALoad("SELECT pg_backend_pid()");
    EXPECT_EQ(InALoad("SELECT pg_backend_pid()"), process);
    EXPECT_EQ(test::ConnectionsTo(scratch_.Name()), 1);
  }
  EXPECT_THAT(steps.Steps(), ElementsAre(Step::Connect, Step::Begin, Step::Statement, Step::Commit,
                                         Step::Begin, Step::Statement, Step::Commit));
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

TEST_F(KeptConnection, LetsTheNextLoadSeeWhatHasChanged) {
  const KeptConnections kept;
  EXPECT_EQ(InALoad("SELECT count(*) FROM facts"), "2");
  scratch_.Execute("DELETE FROM facts");
  EXPECT_EQ(InALoad("SELECT count(*) FROM facts"), "0");
}

TEST_F(KeptConnection, IsKeptAfterAStatementThatFailed) {
  const CapturedMessages messages;
  const KeptConnections kept;
  EXPECT_EQ(InALoad("SELECT 1/0"), "no answer");
  const auto before = Attempts();
  EXPECT_EQ(InALoad("SELECT 1"), "1");
  EXPECT_EQ(Attempts(), before);
}

TEST_F(KeptConnection, ThatIsLostIsMadeAnew) {
  const CapturedMessages messages;
  ConnectAs("postgres");
  const KeptConnections kept;
  const std::string process = InALoad("SELECT pg_backend_pid()");
  test::server::Query("postgres", "SELECT pg_terminate_backend(" + process + ", 5000)");
  EXPECT_EQ(InALoad("SELECT 1"), "no answer");
  EXPECT_EQ(InALoad("SELECT 1"), "1");
}

TEST_F(KeptConnection, ThatCannotBeHadIsTriedForOnceInALoad) {
  ConnectAs("brio_reader", "host=" + folder_.Path());
  const CapturedMessages messages;
  const KeptConnections kept;
  const auto before = Attempts();
  {
    const LoadScope scope;
    EXPECT_EQ(Ask(*BareTable(), "SELECT 1"), "no connection");
    EXPECT_EQ(Ask(*BareTable(), "SELECT 1"), "no connection");
  }
  EXPECT_EQ(Attempts() - before, 1);
  ASSERT_THAT(messages.All(), SizeIs(2));
  EXPECT_THAT(messages.All()[0].text, HasSubstr(folder_.Path()));
  EXPECT_EQ(messages.All()[1].text, messages.All()[0].text);
  EXPECT_EQ(InALoad("SELECT 1"), "no connection");
  EXPECT_EQ(Attempts() - before, 2);
}

TEST_F(KeptConnection, IsTriedForAsOftenAsItIsTold) {
  ConnectAs("brio_reader", "host=" + folder_.Path());
  const CapturedMessages messages;
  const auto before = Attempts();
  {
    const KeptConnections kept(1);
    InALoad("SELECT 1");
  }
  EXPECT_EQ(Attempts() - before, 2);
  InALoad("SELECT 1");
  EXPECT_EQ(Attempts() - before, 3);
}

TEST_F(KeptConnection, WithoutOneEveryLoadHasItsOwn) {
  const std::string process = InALoad("SELECT pg_backend_pid()");
  EXPECT_NE(InALoad("SELECT pg_backend_pid()"), process);
}

}  // namespace
}  // namespace brio::dbi
