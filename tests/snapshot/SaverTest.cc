// What is saved of runs, and what is not.
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "RunHistory/ProgressOutput.h"
#include "RunHistory/RunHistory.h"
#include "database/snapshot/SnapshotFile.h"
#include "framework/exception.h"
#include "snapshot/Saver.h"
#include "tests/snapshot/SavedFile.h"
#include "tests/support/Output.h"
#include "tests/support/Server.h"

namespace brio::test {
namespace {

using dbi::snapshot::RunState;
using dbi::snapshot::SnapshotFile;
using snapshot::Saved;
using snapshot::Saver;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::vector<std::string> RunsIn(const std::string& path) {
  std::vector<std::string> runs;
  for (const auto& run : SnapshotFile::Open(path)->Runs()) {
    runs.push_back(run.detector + ' ' + std::to_string(run.run) +
                   (run.state == RunState::Missing ? " missing" : ""));
  }
  return runs;
}

class SaverTest : public testing::Test {
protected:
  void On(const std::string& database) { setenv("BRIO_DATABASE", database.c_str(), 1); }
  std::string Path() const { return folder_.Path("runs.brio"); }

  EnvironmentVariable database_{"BRIO_DATABASE", server::Template("small")};
  CapturedOutput output_;
  CapturedMessages messages_;
  ScratchFolder folder_;
};

TEST_F(SaverTest, StoresRunsOfSeveralDetectors) {
  Saver saver(Path());
  EXPECT_EQ(saver.Save("Birch", 13000).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Alder", 11001).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Cedar", 12000).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Birch", 5).saved, Saved::Whole);
  saver.Commit();
  EXPECT_THAT(RunsIn(Path()), ElementsAre("Alder 11001", "Birch 5", "Birch 13000", "Cedar 12000"));
  EXPECT_THAT(SnapshotFile::Open(Path())->VerifyAll(), IsEmpty());
}

TEST_F(SaverTest, StoresAMissingRunAsMissing) {
  Saver saver(Path());
  EXPECT_EQ(saver.Save("Birch", 14999).saved, Saved::Missing);
  saver.Commit();
  EXPECT_THAT(RunsIn(Path()), ElementsAre("Birch 14999 missing"));
  On("snapshot:" + Path());
  dbi::RunHistory run(14999, "Birch");
  EXPECT_FALSE(run.LoadDAQRunHistory());
  dbi::RunHistory other(14998, "Birch");
  EXPECT_THROW(other.LoadDAQRunHistory(), cet::exception);
}

TEST_F(SaverTest, StoresARunWithoutResourcesAsItIs) {
  Saver saver(Path());
  EXPECT_EQ(saver.Save("Birch", 13006).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Birch", 13012).saved, Saved::Whole);
  saver.Commit();
  On("snapshot:" + Path());
  EXPECT_THROW(dbi::RunHistory(13006, "Birch").LoadDAQRunHistory(), cet::exception);
  EXPECT_THROW(dbi::RunHistory(13012, "Birch").LoadDAQRunHistory(), std::out_of_range);
}

struct LostTable {
  const char* name;
  const char* sql;
  const char* fact;
};

class SaverWithout : public testing::TestWithParam<LostTable> {};

// Gains and slow control that fail count as loaded: a snapshot must not take them so.
TEST_P(SaverWithout, RefusesTheRunAndNamesTheFact) {
  const ScratchDatabases databases("small");
  databases.Execute(GetParam().sql);
  const EnvironmentVariable database("BRIO_DATABASE", databases.Template());
  const CapturedOutput output;
  const CapturedMessages messages;
  const ScratchFolder folder;
  {
    Saver saver(folder.Path("runs.brio"));
    const auto result = saver.Save("Birch", 13000);
    EXPECT_EQ(result.saved, Saved::Refused);
    EXPECT_THAT(result.reason, StartsWith(std::string(GetParam().fact) + ": "));
    EXPECT_THAT(result.reason, HasSubstr("does not exist"));
  }
  EXPECT_THAT(folder.Names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table, SaverWithout,
    testing::Values(
        LostTable{"Runs", "DROP TABLE daq.runs CASCADE", "run record"},
        LostTable{"Resources", "DROP TABLE daq.daqresourcesbyrun CASCADE", "resources"},
        LostTable{"Mask", "DROP TABLE dataquality.gooddiblocksvsrun CASCADE", "good-diblock mask"},
        LostTable{"POT", "DROP TABLE beam.potbyrun CASCADE", "protons on target"},
        LostTable{"DataQuality", "DROP TABLE dataquality.dqsubruninfo CASCADE", "data-quality records"},
        LostTable{"Hardware", "ALTER TABLE millpondprod_factory.apd RENAME TO gone", "installed hardware"},
        LostTable{"Gains", "DROP TABLE public.apd_pixel_m CASCADE", "gains"},
        LostTable{"APDs", "DROP TABLE public.apd_stats CASCADE", "installed APDs"},
        LostTable{"FEBs", "DROP TABLE public.feb_test_summary CASCADE", "installed FEBs"},
        LostTable{"Masks", "DROP TABLE daqconfig.enable_masks CASCADE", "enable masks"},
        LostTable{"Thresholds", "DROP TABLE daqconfig.thresholds CASCADE", "thresholds"},
        LostTable{"SlowControl", "DROP TABLE slowcontrol.apd_settings CASCADE", "slow control"}),
    [](const auto& table) { return std::string(table.param.name); });

TEST_F(SaverTest, RefusesARunWhenTheServerCannotBeHad) {
  On("host=" + server::SocketFolder() + " dbname=there_is_none user=brio_reader");
  Saver saver(Path());
  const auto result = saver.Save("Birch", 13000);
  EXPECT_EQ(result.saved, Saved::Refused);
  EXPECT_THAT(result.reason, HasSubstr("cannot be reached"));
}

TEST_F(SaverTest, LeavesTheOldFileUntilItCommits) {
  {
    Saver saver(Path());
    saver.Save("Cedar", 12000);
    saver.Commit();
  }
  {
    Saver saver(Path());
    saver.Save("Alder", 11000);
    EXPECT_THAT(RunsIn(Path()), ElementsAre("Cedar 12000"));
  }
  EXPECT_THAT(RunsIn(Path()), ElementsAre("Cedar 12000"));
  EXPECT_THAT(folder_.Names(), ElementsAre("runs.brio"));
}

TEST_F(SaverTest, AppendsToAFileAndReplacesARunInIt) {
  {
    Saver saver(Path(), Saver::Old::Append);
    saver.Save("Cedar", 12000);
    saver.Save("Alder", 11000);
    saver.Commit();
  }
  Saver saver(Path(), Saver::Old::Append);
  EXPECT_EQ(saver.Save("Alder", 11000).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Alder", 11001).saved, Saved::Whole);
  saver.Commit();
  EXPECT_THAT(RunsIn(Path()), ElementsAre("Alder 11000", "Alder 11001", "Cedar 12000"));
  EXPECT_THAT(folder_.Names(), ElementsAre("runs.brio"));
}

// What two runs share may have changed between them: each keeps what it was saved with.
TEST_F(SaverTest, KeepsForEachRunWhatItWasSavedWith) {
  const ScratchDatabases databases("small");
  On(databases.Template());
  {
    Saver saver(Path());
    EXPECT_EQ(saver.Save("Birch", 13000).saved, Saved::Whole);
    saver.Commit();
  }
  databases.Execute("UPDATE public.apd_pixel_m SET pixel_m = 97.5");
  {
    Saver saver(Path(), Saver::Old::Append);
    EXPECT_EQ(saver.Save("Birch", 13001).saved, Saved::Whole);
    saver.Commit();
  }
  const auto gainOf = [](int number) {
    dbi::RunHistory run(number, "Birch");
    bool ok = false;
    const float gain = run.GetPixelGain(geo::OfflineChan(0, 0), ok);
    EXPECT_TRUE(ok);
    return gain;
  };
  On(server::Template("small"));
  const float before = gainOf(13000);
  EXPECT_NE(before, 97.5F);
  On("snapshot:" + Path());
  EXPECT_EQ(gainOf(13000), before);
  EXPECT_EQ(gainOf(13001), 97.5F);
  EXPECT_EQ(gainOf(13000), before);
}

TEST_F(SaverTest, NeitherUserNorPasswordNorFolderIsInTheFile) {
  On(server::Template("small", "brio_password") + " password=sandbox-secret");
  Saver saver(Path());
  ASSERT_EQ(saver.Save("Alder", 11000).saved, Saved::Whole);
  saver.Commit();
  std::ifstream file(Path(), std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  for (const std::string& secret :
       {std::string("sandbox-secret"), std::string("brio_password"), server::SocketFolder()}) {
    EXPECT_EQ(bytes.find(secret), std::string::npos) << secret;
  }
  const auto runs = SnapshotFile::Open(Path())->Runs();
  ASSERT_EQ(runs.size(), 1U);
  ASSERT_FALSE(runs.front().sources.empty());
  EXPECT_EQ(runs.front().sources.front().source.host, "local");
  EXPECT_EQ(runs.front().sources.front().source.database, "small_alder");
}

TEST_F(SaverTest, CopiesRunsOutOfASnapshot) {
  const SavedFile file({{"Alder", 11000}, {"Birch", 13011}}, server::Template("small"));
  On(file.Database());
  Saver saver(Path());
  EXPECT_EQ(saver.Save("Birch", 13011).saved, Saved::Whole);
  EXPECT_EQ(saver.Save("Birch", 13000).saved, Saved::Refused);
  saver.Commit();
  EXPECT_THAT(RunsIn(Path()), ElementsAre("Birch 13011"));
}

}  // namespace
}  // namespace brio::test
