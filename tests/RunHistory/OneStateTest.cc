#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using testing::SizeIs;

/// What a writer turns the first state into, all at once.
constexpr const char* kSecondState =
    "UPDATE daq.runs SET runtype = 'Changed', tstart = '2016-03-02 03:00:00';"
    "DELETE FROM daq.daqresourcesbyrun;"
    "INSERT INTO daq.daqresourcesbyrun VALUES (13000, 'dcm', 'dcm-2-02-02', 'Birch', '');"
    "UPDATE dataquality.gooddiblocksvsrun SET dbmask = 2;"
    "DELETE FROM public.feb_comm_cables";

/// The run in its first state: DCM 1 of the good diblock 1, with a module on it.
void Fill(const RunDatabase& database) {
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.AddMask("1");
  database.AddFarModule(1, 1, 0);
}

void ExpectFirstState(const RunHistory& run, int boards) {
  EXPECT_EQ(run.GetRunType(), "Physics");
  ASSERT_THAT(run.GetDiBlocks(), SizeIs(1));
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[0].appName, "dcm-2-01-01");
  EXPECT_EQ(run.GetGoodDiBlockMask(), 1);
  EXPECT_EQ(run.NInstrumentedFEBs(), boards);
}

class ChangeBeforeStatement : public testing::TestWithParam<int> {};

TEST_P(ChangeBeforeStatement, IsNotSeenByTheLoadThatIsUnderWay) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  {
    const Statements change([&](int number, const std::string&) {
      if (number == GetParam()) { database.Execute(kSecondState); }
    });
    const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadHardwareInfo()); });
    EXPECT_EQ(activity.statements, 4);
    EXPECT_EQ(activity.connections, 1);
  }
  ExpectFirstState(run, 1);
  auto next = database.Run();
  next.LoadDAQRunHistory();
  EXPECT_EQ(next.GetRunType(), "Changed");
  EXPECT_EQ(next.GetDiBlocks().at(0).number, 2);
}

INSTANTIATE_TEST_SUITE_P(OneState, ChangeBeforeStatement, testing::Values(2, 3, 4));

TEST(OneState, IsReadEvenWhenTheTablesGoMeanwhile) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  const Statements change([&](int number, const std::string&) {
    if (number == 2) { database.Execute("DELETE FROM daq.runs; DELETE FROM daq.daqresourcesbyrun"); }
  });
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_THAT(run.GetDiBlocks(), SizeIs(1));
}

TEST(OneState, OfADumpHoldsFromItsFirstLoadToItsLast) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  run.SetUseGoodDiBlockMask(true);
  const Statements change([&](int number, const std::string&) {
    if (number == 4) { database.Execute(kSecondState); }
  });
  const auto activity = ActivityOf([&] { run.Dump(); });
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.transactions, 1);
  ExpectFirstState(run, 1);
}

/// A question, the statements it sends on a fresh object, and whether it is answered from one connection.
struct Question {
  const char* name;
  void (*ask)(RunHistory&);
  long statements;
};

const Question kQuestions[] = {
    {"LoadDAQRunHistory", [](RunHistory& run) { run.LoadDAQRunHistory(); }, 2},
    {"LoadHardwareInfo", [](RunHistory& run) { run.LoadHardwareInfo(); }, 3},
    {"LoadPOT", [](RunHistory& run) { run.LoadPOT(); }, 1},
    {"GetDQSubrunInfo", [](RunHistory& run) { run.GetDQSubrunInfo(); }, 1},
    {"NDCMs", [](RunHistory& run) { run.NDCMs(); }, 3},
    {"NLiveDCMs", [](RunHistory& run) { run.NLiveDCMs(); }, 3},
    {"NAnalysisChannels", [](RunHistory& run) { run.NAnalysisChannels(); }, 3},
    {"GetDiBlock", [](RunHistory& run) { run.GetDiBlock(0, false); }, 3},
    {"IsDiBlockFullyInstrumented", [](RunHistory& run) { run.IsDiBlockFullyInstrumented(1); }, 3},
    {"GetConfiguration", [](RunHistory& run) { run.GetConfiguration(); }, 3},
    {"TStart", [](RunHistory& run) { run.TStart(); }, 2},
    {"TStop", [](RunHistory& run) { run.TStop(); }, 2},
    {"TStartAsString", [](RunHistory& run) { run.TStartAsString(); }, 2},
    {"TStopAsString", [](RunHistory& run) { run.TStopAsString(); }, 2},
    {"SubrunTStart", [](RunHistory& run) { run.SubrunTStart(0); }, 2},
    {"SubrunTStop", [](RunHistory& run) { run.SubrunTStop(2); }, 2},
    {"Dump", [](RunHistory& run) { run.Dump(); }, 3},
    {"LoadCoolingInfo", [](RunHistory& run) { run.LoadCoolingInfo(); }, 0},
    {"LoadGoodDiBlockMask", [](RunHistory& run) { run.LoadGoodDiBlockMask(); }, 0},
};

class FirstQuestion : public testing::TestWithParam<Question> {};

TEST_P(FirstQuestion, OpensOneConnectionAndLeavesNone) {
  RunDatabase database;
  Fill(database);
  auto run = database.Run();
  const auto activity = ActivityOf([&] { GetParam().ask(run); });
  EXPECT_EQ(activity.statements, GetParam().statements);
  EXPECT_EQ(activity.attempts, GetParam().statements == 0 ? 0 : 1);
  EXPECT_EQ(activity.transactions, GetParam().statements == 0 ? 0 : 1);
  EXPECT_TRUE(database.IsLeft());
}

INSTANTIATE_TEST_SUITE_P(Connections, FirstQuestion, testing::ValuesIn(kQuestions),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace brio::test
