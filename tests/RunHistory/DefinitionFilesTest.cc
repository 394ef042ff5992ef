#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kTables = "RunHistory/tables/";

/// Table definitions of the test's own, which are found before the library's.
class OwnDefinitions {
public:
  OwnDefinitions() { std::filesystem::create_directories(folder_ + "/" + kTables); }
  ~OwnDefinitions() { std::filesystem::remove_all(folder_); }
  OwnDefinitions(const OwnDefinitions&) = delete;
  OwnDefinitions& operator=(const OwnDefinitions&) = delete;

  void Write(const std::string& file, const std::string& text) const {
    std::ofstream(folder_ + "/" + kTables + file) << text;
  }
  /// The library's own definition with another schema.
  void MoveToSchema(const std::string& file, const std::string& schema) const {
    std::ostringstream text;
    text << std::ifstream(library_ + "/" + kTables + file).rdbuf();
    std::string definition = text.str();
    const std::string daq = "schema=\"daq\"";
    ASSERT_NE(definition.find(daq), std::string::npos);
    Write(file, definition.replace(definition.find(daq), daq.size(), "schema=\"" + schema + "\""));
  }

private:
  std::string library_ = std::getenv("BRIO_SEARCH_PATH");
  std::string folder_ = testing::TempDir() + "/definitions-" + std::to_string(getpid());
  EnvironmentVariable searchPath_{"BRIO_SEARCH_PATH", folder_ + ":" + library_};
};

TEST(DefinitionFiles, OfTheRunTablesAreReadInTheDAQsSchemaWhateverTheyName) {
  const OwnDefinitions definitions;
  definitions.MoveToSchema("Runs.xml", "elsewhere");
  definitions.MoveToSchema("DAQResourcesByRun.xml", "elsewhere");
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
}

class BrokenDefinition : public testing::TestWithParam<const char*> {};

TEST_P(BrokenDefinition, EndsTheDAQLoadBeforeItsNameIsLookedAtOrAConnectionMade) {
  const OwnDefinitions definitions;
  definitions.Write(GetParam(), "no definition");
  for (const auto detector : {briodaq::cnv::Birch, briodaq::cnv::Unknown}) {
    RunHistory run(13000, detector);
    std::string thrown;
    const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
    EXPECT_THAT(thrown, StartsWith("BrioDatabase|"));
    EXPECT_THAT(thrown, HasSubstr(GetParam()));
    EXPECT_EQ(activity.attempts, 0);
    EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), dbi::RunHistoryTestPeer::Flags());
  }
}

// The subruns' table is never loaded, but it is opened.
INSTANTIATE_TEST_SUITE_P(DefinitionFiles, BrokenDefinition,
                         testing::Values("Runs.xml", "Subruns.xml", "DAQResourcesByRun.xml"));

TEST(DefinitionFiles, ABrokenOneOfTheMasksEndsEveryLoadThatUsesTheMask) {
  const OwnDefinitions definitions;
  definitions.Write("GoodDiBlocksVsRun.xml", "no definition");
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  EXPECT_THAT(ThrownBy([&] { run.LoadGoodDiBlockMask(); }), StartsWith("BrioDatabase|"));
  EXPECT_THAT(ThrownBy([&] { run.LoadDAQRunHistory(); }), StartsWith("BrioDatabase|"));
  EXPECT_TRUE(database.IsLeft());
  RunHistory unknown(13000, briodaq::cnv::Unknown);
  unknown.SetUseGoodDiBlockMask(true);
  EXPECT_THAT(ThrownBy([&] { unknown.IsGoodDiBlock(1); }), StartsWith("BrioDatabase|"));
}

}  // namespace
}  // namespace brio::test
