#include <chrono>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "database/ConnectionStatistics.h"
#include "database/LoadScope.h"
#include "tests/database/ServerFixtures.h"
#include "tests/database/SilentHost.h"

namespace brio::dbi {
namespace {

using test::CapturedMessages;
using test::EnvironmentVariable;
using test::SilentHost;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ConnectToServer : public test::OwnDatabase {
protected:
  static long Attempts() { return ConnectionStatistics::Now().connectionAttempts; }
};

TEST_F(ConnectToServer, TheDefaultIsAServiceOfTheDetector) {
  const EnvironmentVariable unset("BRIO_DATABASE", nullptr);
  const EnvironmentVariable services(
      "PGSERVICEFILE", folder_.Write("services", "[brio-birch]\nhost=" + test::server::SocketFolder() +
                                                     "\ndbname=" + scratch_.Name() + "\nuser=brio_reader\n"));
  const auto table = BareTable();
  EXPECT_EQ(Ask(*table, "SELECT current_database()"), scratch_.Name());
  EXPECT_EQ(Ask(*table, "SELECT current_user"), "brio_reader");
}

TEST_F(ConnectToServer, SaysWhoItIsUnlessTheStringDoes) {
  EXPECT_EQ(Ask(*BareTable(), "SHOW application_name"), "brio-runhistory");
  ConnectAs("brio_reader", "application_name=nightly");
  EXPECT_EQ(Ask(*BareTable(), "SHOW application_name"), "nightly");
}

TEST_F(ConnectToServer, AnotherDetectorMeansAnotherDatabase) {
  const test::ScratchDatabases both("empty", {"birch", "alder"});
  const EnvironmentVariable where("BRIO_DATABASE", both.Template());
  for (const char* detector : {"birch", "alder"}) {
    both.Execute(std::string("CREATE TABLE facts AS SELECT 1 AS id, text '") + detector +
                     "' AS note; GRANT SELECT ON facts TO brio_reader",
                 detector);
  }
  const auto table = Facts();
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("birch"));
  table->SetDetector("Alder");
  EXPECT_EQ(test::server::LastingConnections(both.Name("birch")), 0);
  ASSERT_TRUE(table->Load());
  EXPECT_THAT(Notes(*table), ElementsAre("alder"));
  const LoadScope scope;
  EXPECT_EQ(Ask(*table, "SELECT current_database()"), both.Name("alder"));
  table->SetDetector("Birch");
  EXPECT_EQ(Ask(*table, "SELECT current_database()"), both.Name("birch")) << "in a load too";
}

TEST_F(ConnectToServer, AnotherTableTypeMeansAnotherDatabase) {
  ConnectAs("brio_reader", "application_name={database}");
  const auto table = BareTable();
  EXPECT_EQ(Ask(*table, "SHOW application_name"), "runs");
  table->SetTableType(Table::kHardware);
  EXPECT_EQ(Ask(*table, "SHOW application_name"), "hardware");
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  table->SetTableType(Table::kHardware);
  table->SetDetector("Birch");
  EXPECT_EQ(Ask(*table, "SELECT pg_backend_pid()"), process) << "nothing changed";
  table->SetTableType(1);
  EXPECT_EQ(Ask(*table, "SHOW application_name"), "runs");
}

TEST_F(ConnectToServer, ThePasswordOfTheStringIsUsed) {
  ConnectAs("brio_password", "password=sandbox-secret");
  EXPECT_EQ(Ask(*BareTable(), "SELECT current_user"), "brio_password");
}

TEST_F(ConnectToServer, AWrongPasswordIsFinalAndNotShown) {
  ConnectAs("brio_password", "password=hunter2");
  const CapturedMessages messages("debug");
  const long before = Attempts();
  EXPECT_FALSE(BareTable()->GetConnection(3));
  EXPECT_EQ(Attempts() - before, 1);
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(AllOf(HasSubstr("password authentication failed for user \"brio_password\""),
                                Not(HasSubstr("hunter2")), Not(HasSubstr("LOCATION")))));
}

TEST_F(ConnectToServer, APasswordThatIsNeededAndMissingIsFinal) {
  const EnvironmentVariable file("PGPASSFILE", folder_.Path() + "/none");
  ConnectAs("brio_password");
  const CapturedMessages messages("debug");
  const long before = Attempts();
  EXPECT_FALSE(BareTable()->GetConnection(3));
  EXPECT_EQ(Attempts() - before, 1);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("no password supplied")));
}

TEST_F(ConnectToServer, AnUnknownDatabaseIsFinalAndNamed) {
  ConnectAs("brio_reader", "dbname=no_such_database");
  const CapturedMessages messages("debug");
  const long before = Attempts();
  EXPECT_FALSE(BareTable()->GetConnection(3));
  EXPECT_EQ(Attempts() - before, 1);
  ASSERT_EQ(messages.All().size(), 1U);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(HasSubstr("database \"no_such_database\" does not exist")));
}

TEST_F(ConnectToServer, AnUnknownUserIsFinal) {
  ConnectAs("brio_stranger");
  const CapturedMessages messages;
  const long before = Attempts();
  EXPECT_FALSE(BareTable()->GetConnection(3));
  EXPECT_EQ(Attempts() - before, 1);
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"), ElementsAre(HasSubstr("brio_stranger")));
}

TEST_F(ConnectToServer, TooManyClientsIsTriedAgain) {
  ConnectAs("brio_limited");
  const CapturedMessages messages;
  const long before = Attempts();
  EXPECT_FALSE(BareTable()->GetConnection(2));
  EXPECT_EQ(Attempts() - before, 3);
  EXPECT_THAT(
      messages.Texts(Severity::Error, "BrioDatabase"),
      ElementsAre(AllOf(HasSubstr("53300"), HasSubstr("too many connections for role \"brio_limited\""))));
}

TEST_F(ConnectToServer, ALoadTriesOnce) {
  ConnectAs("brio_limited");
  const CapturedMessages messages;
  const long before = Attempts();
  EXPECT_FALSE(Facts()->Load());
  EXPECT_EQ(Attempts() - before, 1);
}

TEST_F(ConnectToServer, AFailureThatPassesIsOvercome) {
  const auto socket = folder_.Path() + "/server";
  ConnectAs("brio_reader", "host=" + socket);
  const CapturedMessages messages;
  int attempts = 0;
  SetStepObserver([&](DatabaseStep step, const std::string&) {
    if (step == DatabaseStep::Connect && ++attempts == 2) {
      std::filesystem::create_directory_symlink(test::server::SocketFolder(), socket);
    }
  });
  EXPECT_TRUE(BareTable()->GetConnection(5));
  SetStepObserver({});
  EXPECT_EQ(attempts, 2);
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(ConnectToServer, TheNextHostIsReachedWhenTheFirstNeverAnswers) {
  const SilentHost silent;
  ConnectAs("brio_reader",
            "host=" + silent.Folder() + "," + test::server::SocketFolder() + " connect_timeout=2");
  const CapturedMessages messages;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask(*BareTable(), "SELECT current_database()"), scratch_.Name());
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_GE(seconds, 1.9);
  EXPECT_LT(seconds, 9.0);  // less than without a time-out of its own
  EXPECT_TRUE(messages.All().empty());
}

TEST_F(ConnectToServer, TheNextHostIsReachedAtOnceWhenTheFirstRefuses) {
  ConnectAs("brio_reader", "host=" + folder_.Path() + "," + test::server::SocketFolder());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Ask(*BareTable(), "SELECT current_database()"), scratch_.Name());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(ConnectToServer, AllHostsThatFailedAreNamed) {
  const SilentHost silent;
  ConnectAs("brio_reader", "host=" + silent.Folder() + "," + folder_.Path() + " connect_timeout=2");
  const CapturedMessages messages;
  EXPECT_FALSE(BareTable()->GetConnection(0));
  EXPECT_THAT(messages.Texts(Severity::Error, "BrioDatabase"),
              ElementsAre(AllOf(HasSubstr(silent.Folder()), HasSubstr(folder_.Path()))));
}

TEST_F(ConnectToServer, AnOpenConnectionIsKept) {
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  const std::string process = Ask(*table, "SELECT pg_backend_pid()");
  EXPECT_TRUE(table->GetConnection(3));
  EXPECT_EQ(Ask(*table, "SELECT pg_backend_pid()"), process);
}

TEST_F(ConnectToServer, AConnectionThatWasGivenUpEndsAndCanBeHadAnew) {
  const auto table = BareTable();
  ASSERT_TRUE(table->GetConnection(0));
  EXPECT_EQ(test::ConnectionsTo(scratch_.Name()), 1);
  table->CloseConnection();
  table->CloseConnection();
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
  PGresult* result = nullptr;
  EXPECT_FALSE(table->ExecuteSQL("SELECT 1", result));
  EXPECT_EQ(result, nullptr);
  EXPECT_EQ(Ask(*table, "SELECT 1"), "1");
}

TEST_F(ConnectToServer, ATablesConnectionEndsWithIt) {
  {
    const auto table = Facts();
    ASSERT_TRUE(table->Load());
    EXPECT_EQ(test::ConnectionsTo(scratch_.Name()), 1);
  }
  EXPECT_EQ(test::server::LastingConnections(scratch_.Name()), 0);
}

}  // namespace
}  // namespace brio::dbi
