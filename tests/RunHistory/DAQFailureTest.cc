#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kRunsFailed =
    "RunHistory::FailedLoadRuns|LoadDAQRunHistory: failed to load the runs table.\n";
constexpr const char* kResourcesFailed =
    "RunHistory::FailedLoadRsrcs|LoadDAQRunHistory: failed to load the resources table.\n";
constexpr const char* kNoEntry = "RunHistory::LoadDAQRunHistory: no entry found the runs table!\n";
constexpr const char* kMissing = "RunHistory::LoadDAQRunHistory: failed to find the run in the runs table.\n";

void Fill(const RunDatabase& database) {
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddBNEVB("bnevb-001");
}

TEST(DAQFailure, AnUnknownDetectorThrowsBeforeAnyConnection) {
  RunHistory run(13000, briodaq::cnv::Unknown);
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
  EXPECT_EQ(thrown, "RunHistory::InvalidDetName|RunHistory::LoadDAQRun: invalid detector name!\n");
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_EQ(activity.output + activity.error, "");
  EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
}

TEST(DAQFailure, ADetectorsNameThatNobodyHasThrows) {
  auto run = RunHistory(13000, "Birch");
  Peer::DetectorName(run) = "Nowhere";
  Peer::NDCMs(run) = 5;
  EXPECT_EQ(ThrownBy([&] { run.LoadDAQRunHistory(); }),
            "RunHistory::InvalidDetName|RunHistory::LoadDAQRun: invalid detector name!\n");
  EXPECT_EQ(Peer::NDCMs(run), 0U) << "the count begins anew before the name is looked at";
}

TEST(DAQFailure, ARunThatIsMissingIsAskedForTwiceByItsFirstSubrun) {
  RunDatabase database;
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_EQ(run.SubrunTStart(0), 1262304000); });
  EXPECT_EQ(activity.error, std::string(kNoEntry) + kMissing) << "the run's own start loads too";
  EXPECT_EQ(activity.statements, 1);
}

/// Something that makes a load fail, and its repair.
struct Fault {
  const char* name;
  const char* breakIt;
  const char* repairIt;
  const char* thrown;
  const char* serverSays;
  bool hasRunsRow;
};

const Fault kFaults[] = {
    {"RunsTableMissing", "ALTER TABLE daq.runs RENAME TO gone", "ALTER TABLE daq.gone RENAME TO runs",
     kRunsFailed, "[SQLSTATE 42P01]", false},
    {"RunsPermissionDenied", "REVOKE SELECT ON daq.runs FROM brio_reader",
     "GRANT SELECT ON daq.runs TO brio_reader", kRunsFailed, "[SQLSTATE 42501]", false},
    {"RunsColumnMissing", "ALTER TABLE daq.runs RENAME configid TO gone",
     "ALTER TABLE daq.runs RENAME gone TO configid", kRunsFailed, "[SQLSTATE 42703]", false},
    {"ResourcesTableMissing", "ALTER TABLE daq.daqresourcesbyrun RENAME TO gone",
     "ALTER TABLE daq.gone RENAME TO daqresourcesbyrun", kResourcesFailed, "[SQLSTATE 42P01]", true},
    {"ResourcesPermissionDenied", "REVOKE SELECT ON daq.daqresourcesbyrun FROM brio_reader",
     "GRANT SELECT ON daq.daqresourcesbyrun TO brio_reader", kResourcesFailed, "[SQLSTATE 42501]", true},
};

class DAQFault : public testing::TestWithParam<Fault> {};

TEST_P(DAQFault, ThrowsLeavesNoConnectionAndIsTriedAgain) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  database.Execute(GetParam().breakIt);
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::string thrown;
    const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
    EXPECT_EQ(thrown, GetParam().thrown);
    EXPECT_EQ(activity.output + activity.error, "");
    EXPECT_EQ(activity.connections, 1);
    EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr(GetParam().serverSays)));
    EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
    EXPECT_EQ(run.NSubruns(), GetParam().hasRunsRow ? 3 : 0);
    EXPECT_EQ(run.GetSubruns().size(), GetParam().hasRunsRow ? 3U : 0U);
    EXPECT_EQ(run.GetConfigId(), GetParam().hasRunsRow ? 1003 : 0);
    EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
    EXPECT_THAT(run.GetBNEVBs(), IsEmpty());
    EXPECT_TRUE(database.IsLeft());
  }
  database.Execute(GetParam().repairIt);
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.GetDiBlocks().size(), 1U);
  EXPECT_EQ(run.GetConfigId(), 1003);
}

INSTANTIATE_TEST_SUITE_P(DAQFailure, DAQFault, testing::ValuesIn(kFaults),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(DAQFailure, ARunWithoutResourcesThrowsWithItsNumberAndIsTriedAgain) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01", 13001);
  auto run = database.Run();
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
  EXPECT_EQ(thrown, "RunHistory::NoRsrcs|LoadDAQRunHistory: no resources found for run 13000\n");
  EXPECT_EQ(activity.statements, 2);
  EXPECT_EQ(activity.output + activity.error, "");
  EXPECT_EQ(run.GetRunType(), "Physics");
  EXPECT_EQ(run.GetSubruns().size(), 3U);
  EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
  EXPECT_TRUE(database.IsLeft());
  database.AddDCM("dcm-2-01-01");
  EXPECT_TRUE(run.LoadDAQRunHistory());
}

TEST(DAQFailure, AMissingRunIsReportedAndNotAskedForAgain) {
  RunDatabase database;
  auto run = database.Run();
  const auto first = ActivityOf([&] { EXPECT_FALSE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(first.error, kNoEntry);
  EXPECT_EQ(first.output, "");
  EXPECT_EQ(first.connections, 1);
  EXPECT_EQ(first.statements, 1);
  EXPECT_TRUE(Peer::LoadedFlags(run).runNotFound);
  EXPECT_FALSE(Peer::LoadedFlags(run).daq);
  EXPECT_TRUE(database.IsLeft());
  Fill(database);
  for (int repeat = 0; repeat < 2; ++repeat) {
    const auto later = ActivityOf([&] { EXPECT_FALSE(run.LoadDAQRunHistory()); });
    EXPECT_EQ(later.error, kMissing);
    EXPECT_EQ(later.output, "");
    EXPECT_EQ(later.attempts, 0);
  }
  run.InvalidateCaches();
  EXPECT_TRUE(run.LoadDAQRunHistory());
}

TEST(DAQFailure, AMissingRunThrowsFromTheSecondCallOnWhenAskedTo) {
  RunDatabase database;
  auto run = database.Run();
  run.SetAbortIfRunMissing(true);
  const auto first = ActivityOf([&] { EXPECT_FALSE(run.LoadDAQRunHistory()); });
  EXPECT_EQ(first.error, kNoEntry);
  for (int repeat = 0; repeat < 2; ++repeat) {
    std::string thrown;
    const auto later = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
    EXPECT_EQ(thrown, "RunHistory::|LoadDAQRunHistory: failed to find the run in the runs table.\n");
    EXPECT_EQ(later.output + later.error, "");
    EXPECT_EQ(later.attempts, 0);
  }
  run.SetAbortIfRunMissing(false);
  EXPECT_EQ(ActivityOf([&] { EXPECT_FALSE(run.LoadDAQRunHistory()); }).error, kMissing);
}

TEST(DAQFailure, CountingTheChannelsOfAMissingRunAsksTwiceAndSoThrowsAtOnce) {
  RunDatabase database;
  auto run = database.Run();
  run.SetAbortIfRunMissing(true);
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.NAnalysisChannels(); }); });
  EXPECT_EQ(thrown, "RunHistory::|LoadDAQRunHistory: failed to find the run in the runs table.\n");
  EXPECT_EQ(activity.error, kNoEntry);
  EXPECT_FALSE(Peer::LoadedFlags(run).analysisCounted);
  EXPECT_TRUE(database.IsLeft());

  auto patient = database.Run();
  const auto twice = ActivityOf([&] { EXPECT_EQ(patient.NAnalysisChannels(), 0); });
  EXPECT_EQ(twice.error, std::string(kNoEntry) + kMissing);
  EXPECT_TRUE(Peer::LoadedFlags(patient).analysisCounted);
}

TEST(DAQFailure, QuestionsAboutAMissingRunAnswerFromTheDefaults) {
  RunDatabase database;
  auto run = database.Run();
  const auto activity = ActivityOf([&] {
    EXPECT_EQ(run.NDCMs(), 0U);
    EXPECT_EQ(run.NLiveDCMs(), 0U);
    EXPECT_FALSE(run.IsDiBlockFullyInstrumented(1));
    EXPECT_EQ(run.GetConfiguration(), 0U);
    EXPECT_EQ(run.TStart(), 1262304000);
    EXPECT_EQ(run.TStop(), 946684800);
    EXPECT_EQ(ThrownBy([&] { run.GetDiBlock(0, true); }), "RunHistory::GetDiBlock: invalid diblock!");
  });
  std::string expected = kNoEntry;
  for (int repeat = 0; repeat < 6; ++repeat) {
    expected += kMissing;
  }
  EXPECT_EQ(activity.error, expected);
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.statements, 1);
}

TEST(DAQFailure, AMissingMaskThatAbortsLeavesTheEventBuildersOfEachTry) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  run.SetAbortIfNoMask(true);
  for (std::size_t attempt = 1; attempt <= 2; ++attempt) {
    std::string thrown;
    const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.LoadDAQRunHistory(); }); });
    EXPECT_EQ(thrown, "RunHistory|No mask found in DB!");
    EXPECT_EQ(activity.output + activity.error, "");
    EXPECT_EQ(activity.connections, 1);
    EXPECT_EQ(run.GetBNEVBs().size(), attempt);
    EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
    EXPECT_EQ(Peer::NDCMs(run), 1U);
    EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
    EXPECT_TRUE(database.IsLeft());
  }
  database.AddMask("1");
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.GetBNEVBs().size(), 3U);
  EXPECT_EQ(Peer::NDCMs(run), 1U);
}

}  // namespace
}  // namespace brio::test
