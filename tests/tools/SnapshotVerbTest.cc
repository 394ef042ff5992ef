// runhistory snapshot save, info and verify, and the other verbs on what was saved.
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

#include "database/Result.h"
#include "tests/snapshot/SavedFile.h"
#include "tests/tools/Sample.h"

namespace brio::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class SnapshotVerb : public testing::Test {
protected:
  std::string Path() const { return folder_.Path("runs.brio"); }
  CommandResult Save(Arguments arguments, const std::string& databases = server::Template("small")) const {
    for (const auto& more : {std::string("--output"), Path(), std::string("--database"), databases}) {
      arguments.push_back(more);
    }
    arguments.insert(arguments.begin(), {"snapshot", "save"});
    return RunHistoryCommand(arguments);
  }
  nlohmann::json Info() const {
    const auto result = RunHistoryCommand({"snapshot", "info", Path(), "--json"});
    EXPECT_EQ(result.status, 0) << result.error;
    return result.status == 0 ? nlohmann::json::parse(result.output) : nlohmann::json();
  }

  ScratchFolder folder_;
};

/// Keeps a table from being read while it lives.
class Lock {
public:
  Lock(const std::string& database, const std::string& table)
      : connection_(PQconnectdb(server::ConnectionString(database, "postgres").c_str())) {
    const dbi::ResultHandle locked(
        PQexec(connection_.get(), ("BEGIN; LOCK TABLE " + table + " IN ACCESS EXCLUSIVE MODE").c_str()));
    EXPECT_EQ(PQresultStatus(locked.get()), PGRES_COMMAND_OK) << PQerrorMessage(connection_.get());
  }

private:
  dbi::ConnectionHandle connection_;
};

/// Returns when a statement waits for a lock.
void WaitForAWaitingStatement(const std::string& database) {
  for (int tries = 0; tries < 600; ++tries) {
    if (server::Value(database, "SELECT count(*) FROM pg_stat_activity WHERE datname = '" + database +
                                    "' AND wait_event_type = 'Lock'") != "0") {
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  ADD_FAILURE() << "no statement waits";
}

std::vector<std::string> RunsOf(const nlohmann::json& info) {
  std::vector<std::string> runs;
  for (const auto& run : info["runs"]) {
    runs.push_back(run["detector"].get<std::string>() + ' ' + std::to_string(run["run"].get<int>()) + ' ' +
                   run["saved"].get<std::string>());
  }
  return runs;
}

TEST_F(SnapshotVerb, SavesRangesOfSeveralDetectors) {
  const auto result = Save({"-d", "Birch", "-r", "13000-13001", "Alder:11000", "Birch:14999"});
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.output, Path() + ": 3 runs saved, 1 as missing\n");
  EXPECT_THAT(result.error, IsEmpty());
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Alder 11000 whole", "Birch 13000 whole", "Birch 13001 whole",
                                          "Birch 14999 missing"));
}

TEST_F(SnapshotVerb, AppendsToAFile) {
  ASSERT_EQ(Save({"Cedar:12000"}).status, 0);
  ASSERT_EQ(Save({"Alder:11000", "--append"}).status, 0);
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Alder 11000 whole", "Cedar 12000 whole"));
  ASSERT_EQ(Save({"Alder:11001"}).status, 0);
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Alder 11001 whole"));
}

TEST_F(SnapshotVerb, RefusesARunThatCannotBeReadAndSavesTheOthers) {
  const ScratchDatabases databases("small", {"birch", "alder"});
  databases.Execute("REVOKE SELECT ON slowcontrol.apd_settings FROM PUBLIC, brio_reader");
  const auto result = Save({"Birch:13000", "Alder:11000"}, databases.Template());
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, Path() + ": 1 run saved, 1 refused\n");
  EXPECT_THAT(result.error, HasSubstr("run 13000 of Birch is not saved: slow control: permission denied"));
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Alder 11000 whole"));
}

TEST_F(SnapshotVerb, KeepsTheOldFileWhenNothingCouldBeSaved) {
  ASSERT_EQ(Save({"Cedar:12000"}).status, 0);
  const auto result =
      Save({"Cedar:12000"}, "host=" + server::SocketFolder() + " dbname=there_is_none user=brio_reader");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, HasSubstr("cannot be reached"));
  EXPECT_THAT(result.error, HasSubstr("there_is_none"));
  EXPECT_THAT(result.error, HasSubstr("no run could be saved; " + Path() + " is not written"));
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Cedar 12000 whole"));
}

TEST_F(SnapshotVerb, SavesInJson) {
  const auto result = Save({"Cedar:12000", "Birch:14999", "--json"});
  ASSERT_EQ(result.status, 0) << result.error;
  const auto answer = nlohmann::json::parse(result.output);
  EXPECT_EQ(answer["file"], Path());
  EXPECT_EQ(answer["runs"][0]["saved"], "whole");
  EXPECT_EQ(answer["runs"][1]["saved"], "missing");
}

TEST_F(SnapshotVerb, RefusesWrongUsage) {
  for (const Arguments& arguments :
       {Arguments{"snapshot"}, Arguments{"snapshot", "keep"}, Arguments{"snapshot", "save", "Birch:13000"},
        Arguments{"snapshot", "save", "-o", Path()},
        Arguments{"snapshot", "save", "-o", Path(), "-d", "Birch"},
        Arguments{"snapshot", "save", "-o", Path(), "-r", "13000"},
        Arguments{"snapshot", "save", "-o", Path(), "13000"},
        Arguments{"snapshot", "save", "-o", Path(), "Oak:1"}, Arguments{"snapshot", "info"},
        Arguments{"snapshot", "info", "a", "b"}, Arguments{"snapshot", "info", "a", "--against", "b"},
        Arguments{"snapshot", "verify", "a", "--append"}}) {
    const auto result = RunHistoryCommand(arguments);
    EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments) << result.error;
  }
}

TEST_F(SnapshotVerb, SaysWhereEachRunIsFrom) {
  ASSERT_EQ(Save({"Birch:13000-13001"}).status, 0);
  const auto info = Info();
  const auto& run = info["runs"][0];
  EXPECT_EQ(run["sources"]["runs"]["database"], "small_birch");
  EXPECT_EQ(run["sources"]["slowcontrol"]["host"], "local");
  EXPECT_EQ(run["library"], info["library"]);
  EXPECT_LT(run["own_bytes"], run["bytes"]);
  const auto text = RunHistoryCommand({"snapshot", "info", Path()});
  EXPECT_THAT(text.output, HasSubstr("local/small_birch"));
  EXPECT_THAT(text.output, HasSubstr("shared by runs"));
}

TEST_F(SnapshotVerb, TellsOfAFileThatIsNone) {
  for (const char* action : {"info", "verify"}) {
    const auto result = RunHistoryCommand({"snapshot", action, folder_.Path("none.brio")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("none.brio"));
  }
}

TEST_F(SnapshotVerb, FindsADamagedByte) {
  ASSERT_EQ(Save({"Birch:13000"}).status, 0);
  ASSERT_EQ(RunHistoryCommand({"snapshot", "verify", Path()}).output, Path() + ": whole\n");
  std::fstream file(Path(), std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(0, std::ios::end);
  const auto middle = static_cast<std::streamoff>(file.tellg()) / 2;
  file.seekg(middle);
  const char byte = static_cast<char>(file.get());
  file.seekp(middle);
  file.put(static_cast<char>(byte ^ 0x10));
  file.close();
  const auto result = RunHistoryCommand({"snapshot", "verify", Path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runs.brio"));
  EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(SnapshotVerb, TellsWhatHasChangedInTheDatabase) {
  const ScratchDatabases databases("small");
  ASSERT_EQ(Save({"Birch:13000-13001"}, databases.Template()).status, 0);
  const auto against = [&] {
    return RunHistoryCommand({"snapshot", "verify", Path(), "--against", databases.Template()});
  };
  auto result = against();
  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_EQ(result.output, Path() + ": whole\nrun 13000 of Birch: as saved\nrun 13001 of Birch: as saved\n");
  databases.Execute("UPDATE beam.potbyrun SET npot = npot * 2 WHERE run = 13001");
  databases.Execute("UPDATE public.apd_pixel_m SET pixel_m = pixel_m + 0.5");
  result = against();
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, Path() +
                               ": whole\nrun 13000 of Birch: changed: gains\n"
                               "run 13001 of Birch: changed: protons on target, gains\n");
  databases.Execute("DELETE FROM daq.runs WHERE run = 13000");
  result = against();
  EXPECT_THAT(result.output, HasSubstr("run 13000 of Birch: changed: run record"));
}

TEST_F(SnapshotVerb, LeavesNothingBehindWhenItIsInterrupted) {
  ASSERT_EQ(Save({"Cedar:12000"}).status, 0);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    const ScratchDatabases databases("small");
    const Lock lock(databases.Name(), "slowcontrol.apd_settings");
    const auto result = RunHistoryCommandSignalled(
        number, [&] { WaitForAWaitingStatement(databases.Name()); },
        {"snapshot", "save", "Birch:13000", "--output", Path(), "--database", databases.Template()});
    EXPECT_EQ(result.status, -number) << result.error;
    EXPECT_THAT(folder_.Names(), ElementsAre("runs.brio"));
    EXPECT_THAT(RunsOf(Info()), ElementsAre("Cedar 12000 whole"));
  }
}

/// Lets no file of the processes that are started grow beyond a size while it lives, as a full disk would.
class SmallDisk {
public:
  explicit SmallDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
  }
  ~SmallDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

private:
  rlimit before_{};
  void (*handler_)(int) = nullptr;
};

TEST_F(SnapshotVerb, LeavesTheOldFileWhenTheDiskIsFull) {
  ASSERT_EQ(Save({"Cedar:12000"}).status, 0);
  const auto result = [&] {
    const SmallDisk small(100'000);
    return Save({"Birch:13000-13005"});
  }();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("runs.brio"));
  EXPECT_THAT(folder_.Names(), ElementsAre("runs.brio"));
  EXPECT_THAT(RunsOf(Info()), ElementsAre("Cedar 12000 whole"));
}

}  // namespace
}  // namespace brio::test
