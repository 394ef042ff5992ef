#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <stdexcept>

#include "RunHistory/RunHistory.h"
#include "tests/RunHistory/Activity.h"
#include "tests/RunHistory/Peer.h"
#include "tests/support/Locale.h"

namespace brio::test {
namespace {

using briodaq::cnv::DetId;
using briodaq::cnv::DetInfo;
using dbi::RunHistory;
using testing::StartsWith;

TEST(DetInfo, GivesEachDetectorItsNameAndNumber) {
  const std::pair<int, const char*> detectors[] = {{1, "Alder"},  {2, "Birch"}, {3, "Cedar"},
                                                   {4, "Damson"}, {5, "Elder"}, {7, "Fenwick"}};
  for (const auto& [id, name] : detectors) {
    EXPECT_EQ(DetInfo::GetName(id), name);
    EXPECT_EQ(DetInfo::GetId(name), id);
    EXPECT_TRUE(DetInfo::DetIdOk(id)) << id;
    EXPECT_TRUE(DetInfo::DetNameOk(name)) << name;
  }
}

TEST(DetInfo, CallsEveryOtherNumberUnknown) {
  for (const int id : {0, 6, 8, 9, 100, -1, -7, INT_MAX, INT_MIN}) {
    EXPECT_EQ(DetInfo::GetName(id), "Unknown") << id;
    EXPECT_FALSE(DetInfo::DetIdOk(id)) << id;
  }
}

TEST(DetInfo, ComparesNamesExactly) {
  for (const char* name :
       {"", "Unknown", "alder", "BIRCH", "birch", " Birch", "Birch ", "Bir", "Birch2", "2"}) {
    EXPECT_EQ(DetInfo::GetId(name), 0) << name;
    EXPECT_FALSE(DetInfo::DetNameOk(name)) << name;
  }
  EXPECT_EQ(DetInfo::GetId(std::string("Birch\0", 6)), 0);
}

class EveryDetector : public testing::TestWithParam<int> {};

TEST_P(EveryDetector, CanBeSetByNumberAndByName) {
  const auto id = static_cast<DetId>(GetParam());
  RunHistory byNumber;
  byNumber.SetDetector(id);
  EXPECT_EQ(byNumber.GetDetectorId(), id);
  EXPECT_EQ(byNumber.GetDetectorName(), DetInfo::GetName(id));
  RunHistory byName;
  byName.SetDetector(DetInfo::GetName(id));
  EXPECT_EQ(byName.GetDetectorId(), id);
  EXPECT_EQ(byName.GetDetectorName(), DetInfo::GetName(id));
}

INSTANTIATE_TEST_SUITE_P(SetDetector, EveryDetector, testing::Values(1, 2, 3, 4, 5, 7));

TEST(SetDetector, TakesZeroAsANumber) {
  RunHistory run(13000, "Birch");
  run.SetDetector(briodaq::cnv::Unknown);
  EXPECT_EQ(run.GetDetectorId(), 0);
  EXPECT_EQ(run.GetDetectorName(), "Unknown");
}

TEST(SetDetector, KeepsTheCachesOfTheSameDetector) {
  RunHistory run(13000, "Birch");
  dbi::RunHistoryTestPeer::SetLoaded(run, true, true, true, true);
  const auto loaded = dbi::RunHistoryTestPeer::LoadedFlags(run);
  run.SetDetector("Birch");
  run.SetDetector(briodaq::cnv::Birch);
  run.SetDetector(run.GetDetectorName());
  EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), loaded);
}

TEST(SetDetector, EmptiesTheCachesOfAnotherDetector) {
  RunHistory run(13000, "Alder");
  dbi::RunHistoryTestPeer::SetLoaded(run, true, true, true, true);
  run.SetDetector("Birch");
  EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), dbi::RunHistoryTestPeer::Flags());
  dbi::RunHistoryTestPeer::SetLoaded(run, true, true, true, true);
  run.SetDetector(briodaq::cnv::Cedar);
  EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), dbi::RunHistoryTestPeer::Flags());
}

/// Sets a detector while an exception is being handled, and tells what comes out.
template <class Detector>
std::string SetInsideAHandler(RunHistory& run, const Detector& detector) {
  return ThrownBy([&] {
    try {
      throw std::runtime_error("the exception being handled");
    } catch (const std::runtime_error&) { run.SetDetector(detector); }
  });
}

class RefusedNumber : public testing::TestWithParam<int> {};

TEST_P(RefusedNumber, EmptiesTheCachesAndPassesOnWhatIsBeingHandled) {
  RunHistory run(13000, "Birch");
  dbi::RunHistoryTestPeer::SetLoaded(run, true, true, true, true);
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = SetInsideAHandler(run, static_cast<DetId>(GetParam())); });
  EXPECT_EQ(thrown, "the exception being handled");
  EXPECT_EQ(activity.error, "Bad detector id: " + std::to_string(GetParam()) + "\n");
  EXPECT_EQ(activity.output, "");
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Birch);
  EXPECT_EQ(run.GetDetectorName(), "Birch");
  EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), dbi::RunHistoryTestPeer::Flags());
}

INSTANTIATE_TEST_SUITE_P(SetDetector, RefusedNumber, testing::Values(6, 8, -1, INT_MAX, INT_MIN));

TEST(SetDetector, NamesARefusedNumberInDecimalWhateverTheFormatOfStandardError) {
  RunHistory run(13000, "Birch");
  bool isKept = false;
  const auto activity = ActivityOf([&] {
    const OddFormat odd(std::cerr);
    SetInsideAHandler(run, static_cast<DetId>(1000006));
    isKept = odd.IsKept();
  });
  EXPECT_EQ(activity.error, "Bad detector id: 1000006\n");
  EXPECT_TRUE(isKept);
}

class RefusedName : public testing::TestWithParam<const char*> {};

TEST_P(RefusedName, ChangesNothingAndPassesOnWhatIsBeingHandled) {
  RunHistory run(13000, "Birch");
  dbi::RunHistoryTestPeer::SetLoaded(run, true, true, true, true);
  const auto loaded = dbi::RunHistoryTestPeer::LoadedFlags(run);
  std::string thrown;
  const auto activity = ActivityOf([&] { thrown = SetInsideAHandler(run, std::string(GetParam())); });
  EXPECT_EQ(thrown, "the exception being handled");
  EXPECT_EQ(activity.error, std::string("Bad detector id: ") + GetParam() + "\n");
  EXPECT_EQ(run.GetDetectorId(), briodaq::cnv::Birch);
  EXPECT_EQ(run.GetDetectorName(), "Birch");
  EXPECT_EQ(dbi::RunHistoryTestPeer::LoadedFlags(run), loaded) << "a name is looked at before the caches";
}

INSTANTIATE_TEST_SUITE_P(SetDetector, RefusedName, testing::Values("Unknown", "birch", ""));

TEST(SetDetectorDeathTest, ARefusedDetectorEndsTheProcess) {
  const auto aborted = testing::KilledBySignal(SIGABRT);
  RunHistory run(13000, "Birch");
  EXPECT_EXIT(run.SetDetector(static_cast<DetId>(6)), aborted, StartsWith("Bad detector id: 6\n"));
  EXPECT_EXIT(run.SetDetector("Nowhere"), aborted, StartsWith("Bad detector id: Nowhere\n"));
  EXPECT_EXIT(run.SetDetector("Unknown"), aborted, StartsWith("Bad detector id: Unknown\n"));
  EXPECT_EXIT(RunHistory(13000, "Nowhere"), aborted, StartsWith("Bad detector id: Nowhere\n"));
  EXPECT_EXIT(RunHistory(13000, static_cast<DetId>(-3)), aborted, StartsWith("Bad detector id: -3\n"));
}

}  // namespace
}  // namespace brio::test
