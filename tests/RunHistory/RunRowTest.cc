// The run's row of the runs table: how it is asked for, and what becomes of a run with several.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using testing::HasSubstr;

/// Everything that the runs table tells of a run, in one text.
std::string Row(RunHistory& run) {
  return run.TStartAsString() + " | " + run.TStopAsString() + " | " + std::to_string(run.GetConfigId()) +
         " | " + std::to_string(run.NSubruns()) + " " + std::to_string(run.GetSubruns().size()) + " | " +
         std::to_string(run.NActiveChannels()) + " | " + std::to_string(run.GetPartition()) + " | " +
         run.GetRunType();
}

TEST(RunRow, IsAskedForWithoutColumnsThatNobodyReads) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  const Statements statements;
  ASSERT_TRUE(run.LoadDAQRunHistory());
  ASSERT_EQ(statements.All().size(), 2U);
  EXPECT_EQ(
      statements.All()[0],
      R"(SELECT "run", "tstart", "tstop", "configid", "nsubruns", "nactivechan", "partition", "runtype")"
      R"( FROM "daq"."runs" WHERE "run" = $1)");
  EXPECT_THAT(statements.All()[1], HasSubstr(R"(FROM "daq"."daqresourcesbyrun" WHERE "run" = $1)"));
}

TEST(RunRow, CanBeReadWhereTheColumnsThatNobodyReadsAreMissing) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute("ALTER TABLE daq.runs DROP nevents, DROP begin_comment, DROP end_comment, DROP shifter");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.GetRunType(), "Physics");
}

TEST(RunRow, IsTheFirstTakenWholeWhereARunHasTwo) {
  RunDatabase database;
  database.Execute(
      "INSERT INTO daq.runs (run, tstart, tstop, configid, nsubruns, nactivechan, partition, runtype) VALUES "
      "(13000, '2016-03-01 03:00:00', '2016-03-01 11:50:00', 1003, 3, 4096, 1, 'Physics'), "
      "(13000, '2016-04-02 04:10:10', '2016-04-02 12:20:20', 2004, 5, 8192, 2, 'Calibration')");
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  ASSERT_TRUE(run.LoadDAQRunHistory());
  // A new table gives its rows in the order in which they came.
  EXPECT_EQ(Row(run), "2016-03-01 03:00:00 | 2016-03-01 11:50:00 | 1003 | 3 3 | 4096 | 1 | Physics");
}

}  // namespace
}  // namespace brio::test
