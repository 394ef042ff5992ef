// What a role needs, what names are quoted, and what the private server listens to.
#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "RunHistory/RunHistory.h"
#include "database/Table.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"
#include "tests/tools/Command.h"

namespace brio::test {
namespace {

using testing::HasSubstr;

/// The SQL blocks of the operator's guide that give rights.
std::string GrantsOfTheGuide() {
  std::ifstream guide(BRIO_SOURCE_DIR "/docs/operators.md");
  std::string grants;
  bool inBlock = false;
  for (std::string line; std::getline(guide, line);) {
    if (line.rfind("```", 0) == 0) {
      inBlock = line == "```sql";
    } else if (inBlock) {
      grants += line + "\n";
    }
  }
  return grants;
}

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

/// A role that may log in and nothing else, for as long as the object lives.
class Role {
public:
  explicit Role(std::string database)
      : database_(std::move(database)), name_("role_" + std::to_string(getpid())) {
    server::Query(database_, "CREATE ROLE " + name_ + " LOGIN");
  }
  ~Role() { server::Query(database_, "DROP OWNED BY " + name_ + "; DROP ROLE " + name_); }
  Role(const Role&) = delete;
  Role& operator=(const Role&) = delete;
  const std::string& Name() const { return name_; }

private:
  std::string database_;
  std::string name_;
};

std::string MiniExperiment() {
  std::ifstream file(BRIO_SOURCE_DIR "/tests/faults/mini_experiment.sql");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(Rights, ThoseOfTheOperatorsGuideAreEnoughForLibraryAndCommand) {
  const ScratchDatabases scratch("empty");
  scratch.Execute(MiniExperiment());
  const Role role(scratch.Name());
  const std::string database = server::ConnectionString(scratch.Name(), role.Name());
  const EnvironmentVariable variable("BRIO_DATABASE", database);
  const auto loads = [](int run, const char* detector) {
    const CapturedOutput output;
    const CapturedMessages messages;
    dbi::RunHistory history(run, detector);
    history.SetUseGoodDiBlockMask(true);
    try {
      const bool loaded = history.LoadAllDetInfo();
      return loaded && !dbi::gLocToFA.empty() && (run != 13000 || history.LoadPOT()) &&
             (run != 13000 || history.GetDQSubrunInfo().size() == 1);
    } catch (const std::exception&) { return false; }
  };
  EXPECT_FALSE(loads(13000, "Birch")) << "without rights";
  const std::string grants = Replaced(GrantsOfTheGuide(), "brio_reader", role.Name());
  ASSERT_THAT(grants, HasSubstr("GRANT SELECT ON"));
  scratch.Execute(grants);
  EXPECT_TRUE(loads(13000, "Birch"));
  EXPECT_TRUE(loads(11000, "Alder"));
  const auto command = RunHistoryCommand({"dump", "--detector", "Birch", "--run", "13000"});
  EXPECT_EQ(command.status, 0) << command.error;

  for (const auto& row :
       server::Query(scratch.Name(),
                     "SELECT oid::regclass FROM pg_class WHERE relkind = 'r' AND "
                     "relnamespace::regnamespace::text !~ '^(pg_|information_schema)' AND "
                     "has_table_privilege('" +
                         role.Name() + "', oid, 'INSERT, UPDATE, DELETE, TRUNCATE, REFERENCES, TRIGGER')")) {
    ADD_FAILURE() << "may write to " << row[0];
  }
}

TEST(Rights, NamesOfADefinitionFileAreQuoted) {
  const ScratchDatabases scratch("empty");
  scratch.Execute(R"(CREATE SCHEMA "odd ""; DROP TABLE daq.runs; --";
                     CREATE TABLE "odd ""; DROP TABLE daq.runs; --"."Ta'ble $1" ("run" integer, "a"", b; --" text);
                     INSERT INTO "odd ""; DROP TABLE daq.runs; --"."Ta'ble $1" VALUES (1, 'one'), (2, 'two');
                     GRANT USAGE ON SCHEMA "odd ""; DROP TABLE daq.runs; --" TO brio_reader;
                     GRANT SELECT ON ALL TABLES IN SCHEMA "odd ""; DROP TABLE daq.runs; --" TO brio_reader)");
  const std::string file = testing::TempDir() + "brio-odd-" + std::to_string(getpid()) + ".xml";
  std::ofstream(file)
      << R"(<table schema="odd &quot;; DROP TABLE daq.runs; --" name="Ta'ble $1">)"
      << R"(<column name="run" type="integer"/><column name="a&quot;, b; --" type="text"/></table>)";
  const EnvironmentVariable database("BRIO_DATABASE", scratch.Template());
  dbi::Table table(file.c_str());
  table.SetDetector("Birch");
  table.SetValidityRange<int>("run", 1, 2);
  table.AddOrderColumn("a\", b; --");
  table.SetOrderDesc();
  ASSERT_TRUE(table.Load());
  ASSERT_EQ(table.NRow(), 2);
  std::string text;
  EXPECT_TRUE(table.GetRow(0)->Col(table.GetColIndex("a\", b; --")).Get(text));
  EXPECT_EQ(text, "two");
  EXPECT_EQ(server::Value(scratch.Name(), "SELECT count(*) FROM pg_class WHERE oid = 'daq.runs'::regclass"),
            "1");
  std::remove(file.c_str());
}

/// Numbers of the sockets that a process has open.
std::set<std::string> SocketsOf(const std::string& process) {
  std::set<std::string> sockets;
  const std::string folder = "/proc/" + process + "/fd/";
  DIR* descriptors = opendir(folder.c_str());
  if (descriptors == nullptr) { throw std::runtime_error("cannot look at process " + process); }
  while (const dirent* entry = readdir(descriptors)) {
    std::array<char, 128> target{};
    if (readlink((folder + entry->d_name).c_str(), target.data(), target.size() - 1) < 0) { continue; }
    const std::string text = target.data();
    if (text.rfind("socket:[", 0) == 0) { sockets.insert(text.substr(8, text.size() - 9)); }
  }
  closedir(descriptors);
  return sockets;
}

TEST(Rights, ThePrivateServerListensOnNoNetwork) {
  std::ifstream lock(server::SocketFolder() + "/../data/postmaster.pid");
  std::string process;
  ASSERT_TRUE(std::getline(lock, process));
  const auto sockets = SocketsOf(process);
  ASSERT_FALSE(sockets.empty()) << "not even its Unix socket";
  for (const char* table : {"tcp", "tcp6", "udp", "udp6", "raw", "raw6"}) {
    std::ifstream entries("/proc/" + process + "/net/" + table);
    for (std::string line; std::getline(entries, line);) {
      std::istringstream fields(line);
      std::string field;
      for (int i = 0; i < 10; ++i) {
        fields >> field;
      }
      EXPECT_EQ(sockets.count(field), 0U) << table << ": " << line;
    }
  }
  EXPECT_EQ(server::Value("postgres", "SHOW listen_addresses"), "");
}

}  // namespace
}  // namespace brio::test
