#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::IsEmpty;

/// The values of a run's row, as text.
std::vector<std::string> RowOf(RunHistory& run) {
  return {Peer::TStartText(run),
          Peer::TStopText(run),
          std::to_string(run.GetConfigId()),
          std::to_string(run.NSubruns()),
          std::to_string(run.NActiveChannels()),
          std::to_string(run.GetPartition()),
          run.GetRunType()};
}

const std::vector<std::string> kColumns{"tstart",      "tstop",     "configid", "nsubruns",
                                        "nactivechan", "partition", "runtype"};
const std::vector<std::string> kStored{
    "2016-03-01 03:00:00", "2016-03-01 11:50:00", "1003", "3", "4096", "1", "Physics"};
const std::vector<std::string> kDefaults{"2010-01-01 00:00:00", "", "0", "0", "0", "-1", ""};

class NullColumn : public testing::TestWithParam<std::size_t> {};

TEST_P(NullColumn, LeavesItsMemberAlone) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute("UPDATE daq.runs SET " + kColumns[GetParam()] + " = NULL");
  auto run = database.Run();
  const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
  auto expected = kStored;
  expected[GetParam()] = kDefaults[GetParam()];
  EXPECT_EQ(RowOf(run), expected);
  EXPECT_EQ(activity.output + activity.error, "");
  EXPECT_EQ(static_cast<int>(run.GetSubruns().size()), run.NSubruns());
}

INSTANTIATE_TEST_SUITE_P(RunsRow, NullColumn, testing::Range<std::size_t>(0, 7),
                         [](const auto& tested) { return kColumns[tested.param]; });

TEST(DAQBadInput, ARowOfNullsIsARun) {
  RunDatabase database;
  database.Execute("INSERT INTO daq.runs (run) VALUES (13000)");
  database.AddDCM("dcm-2-01-01");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(RowOf(run), kDefaults);
  EXPECT_EQ(run.TStop(), 946684800);
}

class UnreadableNumber : public testing::TestWithParam<std::size_t> {};

TEST_P(UnreadableNumber, IsReportedAndLeavesItsMemberAlone) {
  const std::string& column = kColumns[GetParam()];
  auto expected = kStored;
  expected[GetParam()] = kDefaults[GetParam()];
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute("ALTER TABLE daq.runs ALTER " + column + " TYPE text");
  std::vector<std::string> texts{
      "", " 5", "5 ", "5.5", "5.0", "12abc", "1e3", "0x10", "99999999999999999999"};
  if (column != "configid") { texts.insert(texts.end(), {"2147483648", "-2147483649"}); }
  for (const auto& text : texts) {
    database.Execute("UPDATE daq.runs SET " + column + " = '" + text + "'");
    auto run = database.Run();
    const auto activity = ActivityOf([&] { EXPECT_TRUE(run.LoadDAQRunHistory()); });
    EXPECT_EQ(RowOf(run), expected) << text;
    EXPECT_EQ(activity.error, "Column::Get(): Bad_lexical_cast! Value = " + text + "\n");
    EXPECT_EQ(activity.output, "");
  }
}

INSTANTIATE_TEST_SUITE_P(RunsRow, UnreadableNumber, testing::Range<std::size_t>(2, 6),
                         [](const auto& tested) { return kColumns[tested.param]; });

TEST(DAQBadInput, NumbersAtTheEndsOfTheirRangeAreRead) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute(
      "UPDATE daq.runs SET configid = 9223372036854775807, nactivechan = 2147483647, "
      "partition = -2147483648");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  EXPECT_EQ(run.GetConfigId(), 9223372036854775807LL);
  EXPECT_EQ(run.NActiveChannels(), 2147483647);
  EXPECT_EQ(run.GetPartition(), -2147483647 - 1);
}

TEST(DAQBadInput, TextsAreTakenAsTheyStand) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute(
      "ALTER TABLE daq.runs ALTER tstart TYPE text; ALTER TABLE daq.runs ALTER tstop TYPE text;"
      "UPDATE daq.runs SET tstart = 'sometime', tstop = '', runtype = ''");
  auto run = database.Run();
  run.LoadDAQRunHistory();
  EXPECT_EQ(run.TStartAsString(), "sometime");
  EXPECT_EQ(run.TStart(), 0);
  EXPECT_EQ(run.TStop(), 946684800);
  EXPECT_EQ(run.GetRunType(), "");
}

class SubrunCount : public testing::TestWithParam<std::pair<const char*, std::size_t>> {};

TEST_P(SubrunCount, SizesTheListAsFarAsItIsACount) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute(std::string("UPDATE daq.runs SET nsubruns = ") + GetParam().first);
  auto run = database.Run();
  run.LoadDAQRunHistory();
  EXPECT_EQ(std::to_string(run.NSubruns()), GetParam().first);
  EXPECT_EQ(run.GetSubruns().size(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(RunsRow, SubrunCount,
                         testing::Values(std::pair{"0", 0U}, std::pair{"1", 1U}, std::pair{"-1", 0U},
                                         std::pair{"-2147483648", 0U}, std::pair{"1048576", 1048576U}));

TEST(DAQBadInput, AnAbsurdSubrunCountIsReportedAndDoesNotFillTheMemory) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-01");
  database.Execute("UPDATE daq.runs SET nsubruns = 2147483647");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(run.NSubruns(), 2147483647);
  EXPECT_EQ(run.GetSubruns().size(), 1048576U);
  EXPECT_THAT(
      database.TakeErrors("RunHistory"),
      ElementsAre("run 13000 says that it has 2147483647 subruns; times are kept for the first 1048576"));
  EXPECT_EQ(run.SubrunTStart(2147483647), 0);
  EXPECT_EQ(run.SubrunTStop(2147483647), 0);
  EXPECT_EQ(run.SubrunTStop(2147483646), run.TStop());
}

class ShortName : public testing::TestWithParam<const char*> {};

TEST_P(ShortName, FailsToBeCutAndIsTriedAgain) {
  RunDatabase database;
  database.AddRun();
  database.AddBNEVB("bnevb-001");
  database.AddResource("'dcm'", GetParam(), "'Birch'");
  auto run = database.Run();
  for (std::size_t attempt = 1; attempt <= 2; ++attempt) {
    EXPECT_THROW(run.LoadDAQRunHistory(), std::out_of_range);
    EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
    EXPECT_EQ(run.GetBNEVBs().size(), std::string(GetParam()) == "''" ? 0 : attempt)
        << "an empty name comes first";
    EXPECT_EQ(Peer::NDCMs(run), 0U);
    EXPECT_TRUE(database.IsLeft());
  }
  database.Execute("DELETE FROM daq.daqresourcesbyrun WHERE resource_type = 'dcm'");
  EXPECT_TRUE(run.LoadDAQRunHistory());
}

INSTANTIATE_TEST_SUITE_P(DCMNames, ShortName,
                         testing::Values("''", "'dcm-2'", "'dcm-2-0'", "'dcm-2-01'", "NULL"));

TEST(DAQBadInput, ANameThatIsJustLongEnoughIsReadAsFarAsItGoes) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM("dcm-2-01-5");
  database.AddDCM("dcm-2-07-12345");
  database.AddDCM("dcm-2--1-01");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  ASSERT_EQ(run.GetDiBlocks().size(), 3U);
  EXPECT_EQ(run.GetDiBlocks()[0].number, 65535) << "minus one, so first";
  EXPECT_EQ(run.GetDiBlocks()[1].dcms[4].appName, "dcm-2-01-5");
  EXPECT_EQ(run.GetDiBlocks()[2].dcms[11].appName, "dcm-2-07-12345");
}

class OutsideDCM : public testing::TestWithParam<const char*> {};

TEST_P(OutsideDCM, IsCountedReportedAndLeftOut) {
  RunDatabase database;
  database.AddRun();
  database.AddDCM(GetParam());
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(Peer::NDCMs(run), 1U);
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_THAT(
      database.TakeErrors("RunHistory"),
      ElementsAre(std::string("LoadDAQRunHistory: left out 1 row that points outside the run's detector, "
                              "the first: \"") +
                  GetParam() + "\""));
}

INSTANTIATE_TEST_SUITE_P(DCMNames, OutsideDCM,
                         testing::Values("dcm-2-03-00", "dcm-2-03-13", "dcm-2-03-99", "dcm-2-03--1",
                                         "dcm-2-03-xx"));

TEST(DAQBadInput, OutsideDCMsAreReportedTogether) {
  RunDatabase database("Alder");
  database.AddRun();
  for (const char* name : {"dcm-1-01-04", "dcm-1-01-05", "dcm-1-01-00", "dcm-1-02-12"}) {
    database.AddDCM(name);
  }
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  EXPECT_EQ(Peer::NDCMs(run), 4U);
  ASSERT_EQ(run.GetDiBlocks().size(), 1U);
  EXPECT_TRUE(run.GetDiBlocks()[0].dcms[3].isActive);
  EXPECT_THAT(
      database.TakeErrors("RunHistory"),
      ElementsAre("LoadDAQRunHistory: left out 3 rows that point outside the run's detector, the first: "
                  "\"dcm-1-01-00\""));
}

TEST(DAQBadInput, AnEventBuilderWithoutANameIsAnEventBuilder) {
  RunDatabase database;
  database.AddRun();
  database.AddResource("'bnevb'", "NULL", "'Birch'");
  auto run = database.Run();
  EXPECT_TRUE(run.LoadDAQRunHistory());
  ASSERT_EQ(run.GetBNEVBs().size(), 1U);
  EXPECT_EQ(run.GetBNEVBs()[0].appName, "");
}

TEST(DAQBadInput, OddRunsOfTheSampleAreRead) {
  const EnvironmentVariable database("BRIO_DATABASE", server::Template("small"));
  const CapturedMessages messages;
  RunHistory nulls(13005, "Birch");
  EXPECT_TRUE(nulls.LoadDAQRunHistory());
  EXPECT_EQ(RowOf(nulls), kDefaults);
  EXPECT_EQ(Peer::NDCMs(nulls), 166U) << "168 less those of NULL type or detector";
  EXPECT_EQ(nulls.GetBNEVBs().size(), 138U);
  RunHistory odd(13011, "Birch");
  EXPECT_TRUE(odd.LoadDAQRunHistory());
  EXPECT_EQ(Peer::NDCMs(odd), 39U);
  EXPECT_EQ(odd.GetDiBlocks().size(), 3U);
  EXPECT_THAT(
      messages.Texts(Severity::Error, "RunHistory"),
      ElementsAre("LoadDAQRunHistory: left out 3 rows that point outside the run's detector, the first: "
                  "\"dcm-2-03-00\""));
  RunHistory shortName(13012, "Birch");
  EXPECT_THROW(shortName.LoadDAQRunHistory(), std::out_of_range);
}

}  // namespace
}  // namespace brio::test
