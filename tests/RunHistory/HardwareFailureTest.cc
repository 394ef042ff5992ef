#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RefusedSend.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr const char* kNoConnection =
    "RunHistory::LoadHardwareInfo(): Failed to connect to hardware database!  Failed to load hardware "
    "info.\n";

/// A run with one DCM and one module on it.
void Fill(const RunDatabase& database) {
  database.AddRun();
  if (database.Detector() == "Alder") {
    database.AddDCM("dcm-1-01-01");
    database.AddNearModule("'dcm-1-01-01'", "0");
  } else {
    database.AddDCM("dcm-2-01-01");
    database.AddFarModule(1, 1, 0);
  }
}

void ExpectMarkedAtLast(RunHistory& run) {
  ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(run.NInstrumentedFEBs(), 1);
}

/// The statement that a load of the run's hardware sends.
std::string StatementOf(const RunDatabase& database) {
  auto run = database.Run();
  const Statements statements;
  ActivityOf([&] { run.LoadHardwareInfo(); });
  return statements.All().at(2);
}

class HardwareOf : public testing::TestWithParam<const char*> {
protected:
  HardwareOf() : database(GetParam()) { Fill(database); }
  std::string Table() const {
    return GetParam() == std::string("Alder") ? "public.hardware_position" : "public.feb_comm_cables";
  }
  RunDatabase database;
};

INSTANTIATE_TEST_SUITE_P(HardwareFailure, HardwareOf, testing::Values("Alder", "Birch"));

TEST_P(HardwareOf, ARefusedStatementIsShownAndIsTriedAgain) {
  const std::string statement = StatementOf(database);
  auto run = database.Run();
  database.Execute("REVOKE SELECT ON " + Table() + " FROM brio_reader");
  for (int attempt = 0; attempt < 2; ++attempt) {
    const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
    EXPECT_EQ(activity.error, "Query failed: " + statement + "\n");
    EXPECT_EQ(activity.output, kHardwareLine);
    EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
    EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("[SQLSTATE 42501]")));
    EXPECT_TRUE(database.IsLeft());
  }
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  database.Execute("GRANT SELECT ON " + Table() + " TO brio_reader");
  ExpectMarkedAtLast(run);
}

TEST_P(HardwareOf, AMissingTableIsTheSame) {
  const std::string statement = StatementOf(database);
  database.Execute("DROP TABLE " + Table());
  auto run = database.Run();
  EXPECT_EQ(ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); }).error,
            "Query failed: " + statement + "\n");
  EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("[SQLSTATE 42P01]")));
}

TEST_P(HardwareOf, AConnectionLostOnTheWayNeverCountsAsLoaded) {
  const std::string statement = StatementOf(database);
  auto run = database.Run();
  {
    const Statements cut([&](int number, const std::string&) {
      if (number != 3 && number != 6) { return; }  // the load's only one, and that of its fresh try
      server::Query("postgres", "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                                    database.Name() + "'");
    });
    const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
    const std::string failed = "Query failed: " + statement + "\n";
    EXPECT_EQ(activity.error, failed + failed);
  }
  EXPECT_FALSE(database.TakeErrors("BrioDatabase").empty());
  EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
  EXPECT_TRUE(database.IsLeft());
  ExpectMarkedAtLast(run);
}

TEST_P(HardwareOf, AStartThatIsNoTimeIsNotSent) {
  const std::string statement = StatementOf(database);
  database.Execute(
      "ALTER TABLE daq.runs ALTER tstart TYPE text; UPDATE daq.runs SET tstart = $$' or '1'='1$$");
  auto run = database.Run();
  const Statements statements;
  for (int attempt = 0; attempt < 2; ++attempt) {
    const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
    EXPECT_EQ(activity.output, kHardwareLine);
    EXPECT_THAT(activity.error, StartsWith("Query failed: SELECT "));
    EXPECT_THAT(activity.error, HasSubstr(" < '' or '1'='1' and ("));
    EXPECT_THAT(database.TakeErrors("RunHistory"),
                ElementsAre("the run's start is no time, and no statement is sent with it: \"' or '1'='1\""));
    EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
    EXPECT_TRUE(database.IsLeft());
  }
  EXPECT_THAT(statements.All(), SizeIs(2)) << "the runs' and the resources'";
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
}

TEST(HardwareFailure, ANearStatementThatCannotBeSentIsPassedOverInSilence) {
  RunDatabase database("Alder");
  Fill(database);
  auto run = database.Run();
  const RefusedSend refused("SELECT dcm_name,dcm_port");
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.error, "");
  EXPECT_TRUE(Peer::LoadedFlags(run).hardware);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_TRUE(run.GetDiBlocks()[0].isActive);
  EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("statement could not be sent")));
  EXPECT_TRUE(database.IsLeft());
}

TEST(HardwareFailure, AFarStatementThatCannotBeSentIsShownAndIsTriedAgain) {
  RunDatabase database;
  Fill(database);
  const std::string statement = StatementOf(database);
  auto run = database.Run();
  {
    const RefusedSend refused("SELECT btrim(fcom.location1");
    const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
    EXPECT_EQ(activity.output, kHardwareLine);
    EXPECT_EQ(activity.error, "SQL error, failed query: " + statement + "\n");
  }
  EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
  EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("statement could not be sent")));
  EXPECT_TRUE(database.IsLeft());
  ExpectMarkedAtLast(run);
}

/// How the hardware database, but not the run database, cannot be reached; and how often that is tried.
struct Unreachable {
  const char* name;
  const char* service;
  const char* reason;
  int retries;
  long attempts;
};

class UnreachableHardware : public testing::TestWithParam<Unreachable> {};

TEST_P(UnreachableHardware, IsReportedAndTriedAgain) {
  for (const char* detector : {"Birch", "Alder", "Cedar"}) {
    RunDatabase database(detector);
    Fill(database);
    const std::string serviceFile = testing::TempDir() + "/" + database.Name() + ".conf";
    const std::string whole = "host=" + server::SocketFolder() + "\ndbname=" + database.Name() + "\n";
    const auto write = [&](const std::string& hardware) {
      std::ofstream(serviceFile) << "[runs]\n" << whole << "user=brio_reader\n" << hardware;
    };
    const EnvironmentVariable services("PGSERVICEFILE", serviceFile);
    const EnvironmentVariable connection("BRIO_DATABASE", "service={database}");
    std::string broken = GetParam().service;
    if (const auto at = broken.find("$WHOLE"); at != std::string::npos) { broken.replace(at, 6, whole); }
    write(broken);
    auto run = database.Run();
    run.SetMaxLoadRetries(GetParam().retries);
    for (int attempt = 0; attempt < 2; ++attempt) {
      const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
      EXPECT_EQ(activity.output, kHardwareLine);
      EXPECT_EQ(activity.error, kNoConnection);
      EXPECT_EQ(activity.attempts, GetParam().attempts + (attempt == 0 ? 1 : 0))
          << "one is the run database's";
      EXPECT_TRUE(Peer::LoadedFlags(run).daq);
      EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
      EXPECT_THAT(database.TakeErrors("BrioDatabase"),
                  ElementsAre(AllOf(HasSubstr(GetParam().reason), Not(HasSubstr("wrong-secret")))));
      EXPECT_TRUE(database.IsLeft());
    }
    write("[hardware]\n" + whole + "user=brio_reader\n");
    const auto repaired = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
    EXPECT_EQ(repaired.connections, 1) << "a connection is needed even where no statement is sent";
    EXPECT_EQ(repaired.statements, detector == std::string("Cedar") ? 0 : 1);
    std::remove(serviceFile.c_str());
  }
}

INSTANTIATE_TEST_SUITE_P(
    HardwareFailure, UnreachableHardware,
    testing::Values(Unreachable{"UnknownService", "", "definition of service \"hardware\" not found", 1, 1},
                    Unreachable{"WrongPassword",
                                "[hardware]\n$WHOLEuser=brio_password\npassword=wrong-secret\n",
                                "password authentication failed", 1, 1},
                    Unreachable{"UnknownDatabase", "[hardware]\ndbname=nowhere\n$WHOLEuser=brio_reader\n",
                                "does not exist", 0, 1},
                    Unreachable{"TooManyConnections", "[hardware]\n$WHOLEuser=brio_limited\n",
                                "too many connections", 1, 2},
                    Unreachable{"NoServer", "[hardware]\nhost=/nonexistent\ndbname=x\nuser=brio_reader\n",
                                "No such file or directory", 1, 2}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(HardwareFailure, SpellsItsConnectionMessageUnlikeTheDirectQuerys) {
  RunDatabase database;
  auto run = database.Run();
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nonexistent dbname=x");
  CapturedMessages messages;
  Peer::PullAPDInfoFromDB(run);
  EXPECT_THAT(messages.Texts(Severity::Error, "RunHistory"),
              testing::Contains("Failed to connect to hardware database! Failed to load hardware info."));
}

TEST(HardwareFailure, WithoutTheDAQRunHistoryNothingIsSaidOrAsked) {
  RunDatabase database;
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.error, "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n");
  EXPECT_EQ(activity.statements, 1);
  const auto again = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
  EXPECT_EQ(again.attempts, 0);
}

TEST(HardwareFailure, OfADetectorWithoutANameIsSilent) {
  RunHistory run(13000, "Birch");
  Peer::SetLoaded(run, true, false, false, false);
  Peer::DetectorName(run) = "Nowhere";
  const auto activity = ActivityOf([&] { EXPECT_FALSE(run.LoadHardwareInfo()); });
  EXPECT_EQ(activity.output, kHardwareLine);
  EXPECT_EQ(activity.error, "");
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_FALSE(Peer::LoadedFlags(run).hardware);
}

}  // namespace
}  // namespace brio::test
