#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/RunHistory/RunDatabase.h"
#include "tests/support/Locale.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kNoMask =
    "WARNING: RunHistory::LoadGoodDiBlockMask(): No good diblock mask info found for run 13000, so assuming "
    "all "
    "good diblocks\n";
constexpr const char* kMaskedOff =
    "WARNING: entire detector masked off by analysis requirements!\n"
    "RunHistory::LoadGoodDiBlockMask(): No analyzable detector region found for run 13000\n";

RunHistory MaskedRun(const RunDatabase& database, bool analysis = false, int number = RunDatabase::kRun) {
  auto run = database.Run(number);
  run.SetUseGoodDiBlockMask(true);
  run.SetApplyAnalysisMask(analysis);
  return run;
}

Activity LoadOf(RunHistory& run) {
  return ActivityOf([&] { EXPECT_TRUE(run.LoadGoodDiBlockMask()); });
}

TEST(MaskLoading, TakesTheNewestMaskInOneStatement) {
  RunDatabase database;
  database.AddMask("1", "'2017-01-01'");
  database.AddMask("6", "'2017-03-01'");
  database.AddMask("2", "'2017-02-01'");
  database.AddMask("4", "NULL");
  database.AddMask("8", "'2018-01-01'", 13001);
  auto run = MaskedRun(database);
  const auto activity = LoadOf(run);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 6);
  EXPECT_EQ(activity.output + activity.error, "");
  EXPECT_EQ(activity.connections, 1);
  EXPECT_EQ(activity.statements, 1);
  EXPECT_TRUE(database.IsLeft());
  EXPECT_EQ(LoadOf(run).attempts, 0) << "loaded once";
  EXPECT_FALSE(run.IsGoodDiBlock(1));
  EXPECT_TRUE(run.IsGoodDiBlock(2));
  EXPECT_TRUE(run.IsGoodDiBlock(3));
  EXPECT_TRUE(run.IsGoodDiBlock(34));
  EXPECT_FALSE(run.IsGoodDiBlock(0));
  EXPECT_FALSE(run.IsGoodDiBlock(-3));
}

TEST(MaskLoading, WithoutARowWarnsAndTakesSixteenDiBlocksAsGood) {
  for (const bool analysis : {false, true}) {
    RunDatabase database;
    auto run = MaskedRun(database, analysis);
    const auto activity = LoadOf(run);
    EXPECT_EQ(run.GetGoodDiBlockMask(), 0xFFFF);
    EXPECT_EQ(activity.output, kNoMask) << "no analysis without a mask";
    EXPECT_EQ(activity.error, "");
    EXPECT_TRUE(run.IsGoodDiBlock(1));
    EXPECT_TRUE(run.IsGoodDiBlock(16));
    EXPECT_FALSE(run.IsGoodDiBlock(17));
    EXPECT_TRUE(Peer::LoadedFlags(run).mask);
  }
}

TEST(MaskLoading, WithoutARowThrowsWhenAskedToAndIsTriedAgain) {
  RunDatabase database;
  auto run = MaskedRun(database);
  run.SetAbortIfNoMask(true);
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::string thrown;
    const auto activity = ActivityOf([&] { thrown = ThrownBy([&] { run.IsGoodDiBlock(1); }); });
    EXPECT_EQ(thrown, "RunHistory|No mask found in DB!");
    EXPECT_EQ(activity.output + activity.error, "");
    EXPECT_EQ(activity.statements, 1);
    EXPECT_FALSE(Peer::LoadedFlags(run).mask);
    EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
    EXPECT_TRUE(database.IsLeft());
  }
  database.AddMask("1");
  EXPECT_TRUE(run.IsGoodDiBlock(1));
}

class UnreadableTable : public testing::TestWithParam<const char*> {};

TEST_P(UnreadableTable, CountsAsOneWithoutAMask) {
  RunDatabase database;
  database.AddMask("1");
  database.Execute(GetParam());
  auto run = MaskedRun(database);
  EXPECT_EQ(LoadOf(run).output, kNoMask);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0xFFFF);
  EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("SQLSTATE")));
  EXPECT_TRUE(database.IsLeft());
  auto strict = MaskedRun(database);
  strict.SetAbortIfNoMask(true);
  EXPECT_EQ(ThrownBy([&] { strict.LoadGoodDiBlockMask(); }), "RunHistory|No mask found in DB!");
  EXPECT_THAT(database.TakeErrors("BrioDatabase"), ElementsAre(HasSubstr("SQLSTATE")));
}

INSTANTIATE_TEST_SUITE_P(MaskLoading, UnreadableTable,
                         testing::Values("DROP TABLE dataquality.gooddiblocksvsrun",
                                         "REVOKE SELECT ON dataquality.gooddiblocksvsrun FROM brio_reader",
                                         "ALTER TABLE dataquality.gooddiblocksvsrun DROP inserttime"));

TEST(MaskLoading, AMaskOfZeroWarnsAndNoDiBlockIsGood) {
  RunDatabase database;
  database.AddMask("0");
  auto run = MaskedRun(database);
  const auto activity = LoadOf(run);
  EXPECT_EQ(activity.output, kMaskedOff);
  EXPECT_EQ(activity.error, "");
  for (int diblock = 1; diblock <= 32; ++diblock) {
    EXPECT_FALSE(run.IsGoodDiBlock(diblock)) << diblock;
  }
}

TEST(MaskLoading, ANullMaskIsZeroAndAnalysed) {
  RunDatabase database;
  database.AddMask("NULL");
  auto run = MaskedRun(database, true);
  EXPECT_EQ(
      LoadOf(run).output,
      std::string("Applying analysis diblock masking: mask unchanged from --------------\n") + kMaskedOff);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
}

TEST(MaskLoading, AnUnreadableMaskIsZeroAndReported) {
  for (const char* text : {" 5", "5.5", "2147483648", ""}) {
    RunDatabase database;
    database.Execute("ALTER TABLE dataquality.gooddiblocksvsrun ALTER dbmask TYPE text");
    database.AddMask(std::string("'") + text + "'");
    auto run = MaskedRun(database);
    const auto activity = LoadOf(run);
    EXPECT_EQ(activity.output, kMaskedOff);
    EXPECT_EQ(activity.error, std::string("Column::Get(): Bad_lexical_cast! Value = ") + text + "\n");
    EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
  }
}

struct Analysed {
  const char* mask;
  const char* line;
  int result;
};

class AnalysedMask : public testing::TestWithParam<Analysed> {};

TEST_P(AnalysedMask, IsNarrowedAndShown) {
  RunDatabase database;
  database.AddMask(GetParam().mask);
  auto run = MaskedRun(database, true);
  const auto activity = LoadOf(run);
  EXPECT_EQ(run.GetGoodDiBlockMask(), GetParam().result);
  EXPECT_EQ(activity.output, std::string("Applying analysis diblock masking: mask ") + GetParam().line +
                                 "\n" + (GetParam().result == 0 ? kMaskedOff : ""));
  EXPECT_EQ(activity.error, "");
}

INSTANTIATE_TEST_SUITE_P(
    MaskLoading, AnalysedMask,
    testing::Values(Analysed{"16383", "unchanged from ##############", 0x3FFF},
                    Analysed{"15807", "modified from ######-##-#### to ----------####", 0x3C00},
                    Analysed{"7", "modified from ###----------- to --------------", 0},
                    Analysed{"0", "unchanged from --------------", 0},
                    // The pictures do not show what lies beyond diblock 14.
                    Analysed{"131071", "modified from ############## to ##############", 0x3FFF}));

TEST(MaskLoading, WithoutAnalysisKeepsTheMaskAsItIs) {
  RunDatabase database;
  database.AddMask("131071");
  auto run = MaskedRun(database);
  EXPECT_EQ(LoadOf(run).output, "");
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0x1FFFF);
}

class OtherDetector : public testing::TestWithParam<const char*> {};

TEST_P(OtherDetector, ReadsTheMaskIgnoresTheCustomOneAndIsNotAnalysed) {
  RunDatabase database(GetParam());
  database.AddMask("3");
  auto run = MaskedRun(database, true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(8);
  const auto activity = LoadOf(run);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 3);
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(activity.statements, 1);
}

INSTANTIATE_TEST_SUITE_P(MaskLoading, OtherDetector, testing::Values("Cedar", "Damson", "Elder", "Fenwick"));

class DataRun : public testing::TestWithParam<int> {};

TEST_P(DataRun, HasItsMaskRead) {
  RunDatabase database;
  database.AddMask("3", "'2017-01-01'", GetParam());
  auto run = MaskedRun(database, false, GetParam());
  EXPECT_EQ(LoadOf(run).statements, 1);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 3);
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
}

INSTANTIATE_TEST_SUITE_P(MaskLoading, DataRun, testing::Values(10000, 999999));

TEST(MaskLoading, NamesTheRunInDecimalWhateverTheFormatOfStandardOutput) {
  RunDatabase database;
  auto run = MaskedRun(database);
  const auto missing = ActivityOf([&] {
    const OddFormat odd(std::cout);
    run.LoadGoodDiBlockMask();
  });
  EXPECT_EQ(missing.output, kNoMask);
  run.InvalidateCaches();
  database.AddMask("0");
  const auto masked = ActivityOf([&] {
    const OddFormat odd(std::cout);
    run.LoadGoodDiBlockMask();
  });
  EXPECT_EQ(masked.output, kMaskedOff);
}

TEST(MaskLoading, IsRepeatedForAnotherRun) {
  RunDatabase database;
  database.AddMask("3");
  database.AddMask("4", "'2017-01-01'", 13001);
  auto run = MaskedRun(database);
  EXPECT_TRUE(run.IsGoodDiBlock(1));
  run.SetRunNumber(13001);
  EXPECT_FALSE(run.IsGoodDiBlock(1));
  EXPECT_TRUE(run.IsGoodDiBlock(3));
}

TEST(MaskLoading, WithoutAServerCountsAsWithoutAMask) {
  const EnvironmentVariable nowhere("BRIO_DATABASE", "host=/nonexistent dbname=none");
  CapturedMessages messages;
  RunHistory run(13000, "Birch");
  run.SetUseGoodDiBlockMask(true);
  EXPECT_EQ(LoadOf(run).output, kNoMask);
  EXPECT_EQ(messages.Texts(Severity::Error, "BrioDatabase").size(), 1U);
}

}  // namespace
}  // namespace brio::test
