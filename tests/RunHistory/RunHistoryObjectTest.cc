#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

#include "RunHistory/RunHistory.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"

namespace brio::test {
namespace {

using dbi::RunHistory;
using Peer = dbi::RunHistoryTestPeer;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kSimulatedRun = 1000001;

static_assert(std::has_virtual_destructor_v<RunHistory>);
static_assert(!std::is_constructible_v<RunHistory, int, int>, "0 is never taken for a name");
static_assert(!std::is_constructible_v<RunHistory, int, std::nullptr_t>);
static_assert(std::is_copy_constructible_v<RunHistory> && std::is_copy_assignable_v<RunHistory>);

static_assert(std::is_nothrow_move_constructible_v<RunHistory>);
static_assert(std::is_nothrow_move_assignable_v<RunHistory>);

template <class T, class = void>
struct BuildsSimulatedRunsForAnyone : std::false_type {};
template <class T>
struct BuildsSimulatedRunsForAnyone<T, std::void_t<decltype(std::declval<T&>().BuildMC())>> : std::true_type {
};
static_assert(!BuildsSimulatedRunsForAnyone<RunHistory>::value);

void ExpectFresh(RunHistory& run) {
  EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
  EXPECT_FALSE(run.IsMC());
  EXPECT_FALSE(Peer::TimeQueries(run));
  EXPECT_FALSE(Peer::TimeParsing(run));
  EXPECT_FALSE(Peer::ApplyAnalysisMask(run));
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
  EXPECT_FALSE(Peer::UseCustomMask(run));
  EXPECT_FALSE(Peer::AbortIfNoMask(run));
  EXPECT_FALSE(Peer::AbortIfRunMissing(run));
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 0);
  EXPECT_EQ(run.NTriggers(), 0);
  EXPECT_EQ(run.NActiveChannels(), 0);
  EXPECT_EQ(run.NTotalChannels(), 0);
  EXPECT_EQ(run.NEnabledFEBs(), 0);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(Peer::SpareSetting(run), 3);
  EXPECT_EQ(run.GetPartition(), -1);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
  EXPECT_EQ(Peer::NDCMs(run), 0U);
  EXPECT_EQ(Peer::MaxLoadRetries(run), 0);
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_THAT(Peer::DBInfo(run), ElementsAre("", "", "", ""));
  EXPECT_EQ(run.GetRunType(), "");
  EXPECT_EQ(Peer::TStartText(run), "2010-01-01 00:00:00");
  EXPECT_EQ(Peer::TStopText(run), "");
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_THAT(run.GetBNEVBs(), IsEmpty());
  EXPECT_THAT(run.GetSubruns(), IsEmpty());
  EXPECT_THAT(Peer::CachedDQSubrunInfo(run), IsEmpty());
  EXPECT_THAT(Peer::BadChanHistory(run), IsEmpty());
  EXPECT_THAT(Peer::ChanInfoHistory(run), IsEmpty());
  EXPECT_EQ(run.GetConfigId(), 0);
}

TEST(RunHistoryObject, MadeWithoutArgumentsIsRunMinusOneOfTheUnknownDetector) {
  RunHistory run;
  EXPECT_EQ(run.GetRunNumber(), -1);
  EXPECT_EQ(run.NSubruns(), -1);
  EXPECT_EQ(run.GetDetectorId(), 0);
  EXPECT_EQ(run.GetDetectorName(), "Unknown");
  ExpectFresh(run);
}

TEST(RunHistoryObject, MadeWithANameHasThatDetector) {
  RunHistory run(13000, "Birch");
  EXPECT_EQ(run.GetRunNumber(), 13000);
  EXPECT_EQ(run.NSubruns(), 0);
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Birch);
  EXPECT_EQ(run.GetDetectorName(), "Birch");
  ExpectFresh(run);
}

TEST(RunHistoryObject, MadeWithANumberHasThatDetector) {
  RunHistory run(11000, briodaq::cnv::Alder);
  EXPECT_EQ(run.GetRunNumber(), 11000);
  EXPECT_EQ(run.NSubruns(), 0);
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Alder);
  EXPECT_EQ(run.GetDetectorName(), "Alder");
  ExpectFresh(run);
}

TEST(RunHistoryObject, AsksNothingWhenMade) {
  const auto activity = ActivityOf([] {
    const RunHistory none;
    const RunHistory named(13000, "Birch");
    const RunHistory numbered(11000, briodaq::cnv::Alder);
  });
  EXPECT_EQ(activity.attempts, 0);
  EXPECT_EQ(activity.output + activity.error, "");
}

TEST(RunHistoryObject, SettersStoreTheirValue) {
  RunHistory run(13000, "Birch");
  run.SetTimeQueries(true);
  EXPECT_TRUE(Peer::TimeQueries(run));
  EXPECT_FALSE(Peer::TimeParsing(run));
  run.SetTimeParsing(true);
  EXPECT_TRUE(Peer::TimeParsing(run));
  EXPECT_FALSE(Peer::ApplyAnalysisMask(run));
  run.SetApplyAnalysisMask(true);
  EXPECT_TRUE(Peer::ApplyAnalysisMask(run));
  EXPECT_FALSE(Peer::UseGoodDiBlockMask(run));
  run.SetUseGoodDiBlockMask(true);
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  EXPECT_FALSE(Peer::UseCustomMask(run));
  run.SetUseCustomMask(true);
  EXPECT_TRUE(Peer::UseCustomMask(run));
  run.SetCustomDiBlockMask(0x2005);
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 0x2005);
  EXPECT_FALSE(Peer::AbortIfNoMask(run));
  run.SetAbortIfNoMask(true);
  EXPECT_TRUE(Peer::AbortIfNoMask(run));
  EXPECT_FALSE(Peer::AbortIfRunMissing(run));
  run.SetAbortIfRunMissing(true);
  EXPECT_TRUE(Peer::AbortIfRunMissing(run));
  run.SetMaxLoadRetries(-2);
  EXPECT_EQ(Peer::MaxLoadRetries(run), -2);
  run.SetUseCustomMask(false);
  EXPECT_FALSE(Peer::UseCustomMask(run));
}

TEST(RunHistoryObject, KeepsFourTextsInTheirOrder) {
  RunHistory run(13000, "Birch");
  run.SetDBInfo("one", "two", "three", "four");
  EXPECT_THAT(Peer::DBInfo(run), ElementsAre("one", "two", "three", "four"));
  run.SetRunNumber(13001);
  EXPECT_THAT(Peer::DBInfo(run), ElementsAre("one", "two", "three", "four"));
}

/// A run with every flag set that can be without a database.
RunHistory LoadedRun() {
  RunHistory run(kSimulatedRun, "Birch");
  ActivityOf([&] {
    run.NAnalysisChannels();
    run.LoadGoodDiBlockMask();
  });
  Peer::TotalPOT(run) = 1.5F;
  Peer::NTriggers(run) = 1;
  Peer::NTotalChannels(run) = 2;
  Peer::NEnabledFEBs(run) = 3;
  Peer::NInstrumentedFEBs(run) = 4;
  Peer::CustomDiBlockMask(run) = 5;
  return run;
}

constexpr Peer::Flags kAllButDQ{true, true, true, true, true, true, true, false, false, true};

TEST(RunHistoryObject, KeepsItsCachesForTheSameRun) {
  RunHistory run = LoadedRun();
  ASSERT_EQ(Peer::LoadedFlags(run), kAllButDQ);
  run.SetRunNumber(kSimulatedRun);
  EXPECT_EQ(Peer::LoadedFlags(run), kAllButDQ);
  EXPECT_TRUE(run.IsMC());
  EXPECT_EQ(run.GetDiBlocks().size(), 14U);
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0x1FFFF);
  EXPECT_EQ(run.GetTotalPOT(), 1.5F);
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 5);
  EXPECT_EQ(run.NTriggers(), 1);
}

TEST(RunHistoryObject, EmptiesItsCachesForAnotherRun) {
  RunHistory run = LoadedRun();
  Peer::NDCMs(run) = 6;
  Peer::ConfigId(run) = 7;
  Peer::TStartText(run) = "start";
  Peer::TStopText(run) = "stop";
  Peer::Subruns(run).resize(8);
  Peer::BNEVBs(run).resize(9);
  run.SetRunNumber(kSimulatedRun + 1);
  EXPECT_EQ(run.GetRunNumber(), kSimulatedRun + 1);
  EXPECT_EQ(Peer::LoadedFlags(run), Peer::Flags());
  EXPECT_FALSE(run.IsMC());
  EXPECT_THAT(run.GetDiBlocks(), IsEmpty());
  EXPECT_EQ(run.GetGoodDiBlockMask(), 0);
  EXPECT_EQ(run.GetTotalPOT(), 0.0F);
  EXPECT_EQ(run.NTriggers(), 0);
  EXPECT_EQ(run.NTotalChannels(), 0);
  EXPECT_EQ(run.NEnabledFEBs(), 0);
  EXPECT_EQ(run.NInstrumentedFEBs(), 0);
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 0);
  EXPECT_EQ(run.NSubruns(), 64) << "what no other run tells stays";
  EXPECT_EQ(Peer::NDCMs(run), 6U);
  EXPECT_EQ(run.GetConfigId(), 7);
  EXPECT_EQ(Peer::TStartText(run), "start");
  EXPECT_EQ(Peer::TStopText(run), "stop");
  EXPECT_EQ(run.GetSubruns().size(), 8U);
  EXPECT_EQ(run.GetBNEVBs().size(), 9U);
}

TEST(RunHistoryObject, ChannelRecordsOutliveAChangeOfRun) {
  RunHistory run(13000, "Birch");
  run.SetChanInfo(geo::OfflineChan(1, 2), 0.5F, 0.25F, 10);
  run.SetIsBad(geo::OfflineChan(1, 2), true, 10);
  run.SetRunNumber(13001);
  EXPECT_EQ(run.Occupancy(geo::OfflineChan(1, 2), 20), 0.5F);
  EXPECT_TRUE(run.IsBad(geo::OfflineChan(1, 2), 20));
}

TEST(RunHistoryObject, AChangeClearsTheCustomMaskButNotItsUse) {
  RunHistory run(13000, "Birch");
  run.SetUseCustomMask(true);
  run.SetUseGoodDiBlockMask(true);
  run.SetCustomDiBlockMask(3);
  run.SetRunNumber(13001);
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 0);
  EXPECT_TRUE(Peer::UseCustomMask(run));
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
  run.SetCustomDiBlockMask(3);
  run.SetDetector("Cedar");
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 0);
  EXPECT_TRUE(Peer::UseCustomMask(run));
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run));
}

TEST(RunHistoryObject, CopiesAreIndependent) {
  RunHistory run = LoadedRun();
  RunHistory copy(run);
  Peer::DiBlocks(copy)[0].dcms[0].febs[0].voltage = 425;
  EXPECT_EQ(run.GetDiBlocks()[0].dcms[0].febs[0].voltage, 0);
  run.SetRunNumber(kSimulatedRun + 1);
  EXPECT_EQ(copy.GetDiBlocks().size(), 14U);
  EXPECT_EQ(Peer::LoadedFlags(copy), kAllButDQ);
}

/// A loaded run with a client's settings and records.
RunHistory UsedRun() {
  RunHistory run = LoadedRun();
  run.SetTimeQueries(true);
  run.SetTimeParsing(true);
  run.SetApplyAnalysisMask(true);
  run.SetUseGoodDiBlockMask(true);
  run.SetUseCustomMask(true);
  run.SetCustomDiBlockMask(3);
  run.SetAbortIfNoMask(true);
  run.SetAbortIfRunMissing(true);
  run.SetMaxLoadRetries(4);
  run.SetDBInfo("one", "two", "three", "four");
  run.SetChanInfo(geo::OfflineChan(1, 2), 0.5F, 0.25F, 10);
  run.SetIsBad(geo::OfflineChan(1, 2), true, 10);
  Peer::TStartText(run) = "2016-03-01 03:00:00";
  Peer::TStopText(run) = "2016-03-01 11:50:00";
  Peer::ConfigId(run) = 1003;
  Peer::NTriggers(run) = 7;
  Peer::NDCMs(run) = 8;
  Peer::TotalPOT(run) = 9.0F;
  Peer::BNEVBs(run).resize(2);
  Peer::Subruns(run).resize(3);
  return run;
}

void ExpectUsed(RunHistory& run) {
  EXPECT_EQ(run.GetRunNumber(), kSimulatedRun);
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Birch);
  EXPECT_EQ(run.GetDetectorName(), "Birch");
  EXPECT_TRUE(run.IsMC());
  EXPECT_EQ(run.NSubruns(), 64);
  EXPECT_TRUE(Peer::LoadedFlags(run).daq);
  EXPECT_EQ(run.GetDiBlocks().size(), 14U);
  EXPECT_TRUE(Peer::TimeQueries(run) && Peer::TimeParsing(run) && Peer::ApplyAnalysisMask(run));
  EXPECT_TRUE(Peer::UseGoodDiBlockMask(run) && Peer::UseCustomMask(run));
  EXPECT_TRUE(Peer::AbortIfNoMask(run) && Peer::AbortIfRunMissing(run));
  EXPECT_EQ(Peer::CustomDiBlockMask(run), 3);
  EXPECT_EQ(Peer::MaxLoadRetries(run), 4);
  EXPECT_THAT(Peer::DBInfo(run), ElementsAre("one", "two", "three", "four"));
  EXPECT_EQ(Peer::TStartText(run), "2016-03-01 03:00:00");
  EXPECT_EQ(Peer::TStopText(run), "2016-03-01 11:50:00");
  EXPECT_EQ(run.GetConfigId(), 1003);
  EXPECT_EQ(run.NTriggers(), 7);
  EXPECT_EQ(Peer::NDCMs(run), 8U);
  EXPECT_EQ(run.GetTotalPOT(), 9.0F);
  EXPECT_EQ(run.GetBNEVBs().size(), 2U);
  EXPECT_EQ(run.GetSubruns().size(), 3U);
  EXPECT_EQ(run.Occupancy(geo::OfflineChan(1, 2), 20), 0.5F);
  EXPECT_TRUE(run.IsBad(geo::OfflineChan(1, 2), 20));
}

/// As made without arguments.
void ExpectDefaultMade(RunHistory& run) {
  EXPECT_EQ(run.GetRunNumber(), -1);
  EXPECT_EQ(run.NSubruns(), -1);
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Unknown);
  EXPECT_EQ(run.GetDetectorName(), "Unknown");
  ExpectFresh(run);
}

TEST(RunHistoryObject, MovedFromIsAsMadeWithoutArguments) {
  RunHistory run = UsedRun();
  const auto* board = run.GetDiBlocks()[0].dcms[0].febs.data();
  RunHistory moved(std::move(run));
  ExpectUsed(moved);
  EXPECT_EQ(moved.GetDiBlocks()[0].dcms[0].febs.data(), board) << "nothing is copied";
  ExpectDefaultMade(run);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)

  RunHistory assigned(13000, "Alder");
  assigned.SetIsBad(geo::OfflineChan(3, 4), true, 10);
  assigned = std::move(moved);
  ExpectUsed(assigned);
  EXPECT_FALSE(assigned.IsBad(geo::OfflineChan(3, 4), 20)) << "what was there is gone";
  ExpectDefaultMade(moved);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
}

TEST(RunHistoryObject, MovedFromCanBeUsedAgain) {
  RunHistory run = UsedRun();
  const RunHistory moved(std::move(run));
  run.SetRunNumber(kSimulatedRun);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  run.SetDetector("Alder");
  ActivityOf([&] { EXPECT_TRUE(run.LoadAllDetInfo()); });
  EXPECT_EQ(run.GetDiBlocks().size(), 4U);
}

TEST(RunHistoryObject, MovedToItselfStays) {
  RunHistory run = UsedRun();
  RunHistory& same = run;
  run = std::move(same);
  ExpectUsed(run);
}

TEST(RunHistoryRecords, ADiBlockStartsWithItsDCMsNumberedFromOne) {
  const RunHistory::DiBlock diblock(3);
  EXPECT_FALSE(diblock.isActive);
  EXPECT_EQ(diblock.number, 0);
  EXPECT_EQ(diblock.nInstrumentedFEBs, 0);
  ASSERT_EQ(diblock.dcms.size(), 3U);
  for (unsigned int i = 0; i < 3; ++i) {
    EXPECT_EQ(diblock.dcms[i].number, i + 1);
    EXPECT_FALSE(diblock.dcms[i].isActive);
    EXPECT_EQ(diblock.dcms[i].diBlock, 0xFFFF);
    EXPECT_THAT(diblock.dcms[i].febs, IsEmpty());
  }
  EXPECT_THAT(RunHistory::DiBlock(0).dcms, IsEmpty());
}

TEST(RunHistoryRecords, StartWithTheirDefaults) {
  const RunHistory::DCM dcm;
  EXPECT_FALSE(dcm.isActive);
  EXPECT_EQ(dcm.diBlock, 0xFFFF);
  EXPECT_EQ(dcm.nInstrumentedFEBs, 0);
  EXPECT_EQ(dcm.hostName + dcm.appName, "");
  EXPECT_EQ(dcm.febEnableMask, 0U);
  const RunHistory::FEB feb;
  EXPECT_EQ(feb.text, "");
  EXPECT_FALSE(feb.isInstalled);
  EXPECT_FALSE(feb.isEnabled);
  EXPECT_FALSE(feb.cooled);
  EXPECT_FALSE(feb.temperatureEnabled);
  EXPECT_THAT(feb.thresholds, IsEmpty());
  EXPECT_EQ(feb.voltage, 0);
  EXPECT_EQ(feb.temperature, -100.0F);
  EXPECT_EQ(feb.avgGain, 0.0F);
  EXPECT_EQ(feb.pixelGains.size(), 32U);
  EXPECT_THAT(feb.pixelGains, Each(100.0F));
  EXPECT_EQ(dbi::Subrun().tStart, 0);
  EXPECT_EQ(dbi::Subrun().tStop, 0);
}

}  // namespace
}  // namespace brio::test
